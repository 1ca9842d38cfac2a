/* GLib's URI parsing and text form over the shared corpus:
 *   url-glib [ROUNDS]
 * Prints "parse_ns P text_ns T" (nanoseconds per URL). */
#include <glib.h>
#include <stdio.h>
#include <stdlib.h>

#include "url_corpus.h"

int main(int argc, char **argv)
{
    long rounds = argc > 1 ? atol(argv[1]) : 20000;
    const GUriFlags flags = G_URI_FLAGS_HAS_PASSWORD;
    GUri *records[URL_CORPUS_SIZE];
    for (int i = 0; i < URL_CORPUS_SIZE; ++i)
        if ((records[i] = g_uri_parse(url_corpus[i], flags, NULL)) == NULL) return 1;
    double parse = 0, text = 0;
    for (int batch = 0; batch < URL_BENCH_BATCHES; ++batch) {
        double start = url_bench_now_ns();
        for (long round = 0; round < rounds; ++round) {
            for (int i = 0; i < URL_CORPUS_SIZE; ++i)
                g_uri_unref(g_uri_parse(url_corpus[i], flags, NULL));
        }
        parse = url_bench_best(parse, start, rounds);
    }
    for (int batch = 0; batch < URL_BENCH_BATCHES; ++batch) {
        double start = url_bench_now_ns();
        for (long round = 0; round < rounds; ++round) {
            for (int i = 0; i < URL_CORPUS_SIZE; ++i)
                g_free(g_uri_to_string(records[i]));
        }
        text = url_bench_best(text, start, rounds);
    }
    for (int i = 0; i < URL_CORPUS_SIZE; ++i)
        g_uri_unref(records[i]);
    printf("parse_ns %.1f text_ns %.1f\n", parse, text);
    return 0;
}
