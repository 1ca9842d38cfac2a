/* The core's URL parsing and text form over the shared corpus:
 *   url-rpf [ROUNDS]
 * Prints "parse_ns P text_ns T traced_parse_ns Q": nanoseconds per URL to
 * parse (diagnostic stream off), to write the full text of a parsed record,
 * and to parse with the stream on, written to a buffered temporary file. */
#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_url.h>

#include <stdio.h>
#include <stdlib.h>

#include "url_corpus.h"

static double parse_all(long rounds)
{
    double best = 0;
    for (int batch = 0; batch < URL_BENCH_BATCHES; ++batch) {
        double start = url_bench_now_ns();
        for (long round = 0; round < rounds; ++round) {
            for (int i = 0; i < URL_CORPUS_SIZE; ++i) {
                rpf_url *url = rpf_url_new_from_string(url_corpus[i]);
                if (url == NULL) exit(1);
                rpf_url_dealloc(url);
            }
        }
        best = url_bench_best(best, start, rounds);
    }
    return best;
}

int main(int argc, char **argv)
{
    long rounds = argc > 1 ? atol(argv[1]) : 20000;
    rpf_url *records[URL_CORPUS_SIZE];
    rpf_diagnostics_set_stream(NULL);
    for (int i = 0; i < URL_CORPUS_SIZE; ++i)
        records[i] = rpf_url_new_from_string(url_corpus[i]);
    double parse = parse_all(rounds);
    double text = 0;
    for (int batch = 0; batch < URL_BENCH_BATCHES; ++batch) {
        double start = url_bench_now_ns();
        for (long round = 0; round < rounds; ++round) {
            for (int i = 0; i < URL_CORPUS_SIZE; ++i)
                free(rpf_url_string(records[i]));
        }
        text = url_bench_best(text, start, rounds);
    }
    FILE *sink = tmpfile();
    if (sink == NULL) return 1;
    static char buffer[1 << 16];
    (void)setvbuf(sink, buffer, _IOFBF, sizeof buffer);
    rpf_diagnostics_set_stream(sink);
    double traced = parse_all(rounds);
    rpf_diagnostics_reset();
    (void)fclose(sink);
    for (int i = 0; i < URL_CORPUS_SIZE; ++i)
        rpf_url_dealloc(records[i]);
    printf("parse_ns %.1f text_ns %.1f traced_parse_ns %.1f\n", parse, text, traced);
    return 0;
}
