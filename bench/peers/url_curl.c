/* libcurl's URL API over the shared corpus (schemes it does not speak
 * allowed):
 *   url-curl [ROUNDS]
 * Prints "parse_ns P text_ns T" (nanoseconds per URL). */
#include <curl/curl.h>
#include <stdio.h>
#include <stdlib.h>

#include "url_corpus.h"

static CURLU *parse(const char *text)
{
    CURLU *url = curl_url();
    if (url == NULL || curl_url_set(url, CURLUPART_URL, text, CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK) exit(1);
    return url;
}

int main(int argc, char **argv)
{
    long rounds = argc > 1 ? atol(argv[1]) : 20000;
    CURLU *records[URL_CORPUS_SIZE];
    for (int i = 0; i < URL_CORPUS_SIZE; ++i)
        records[i] = parse(url_corpus[i]);
    double parse_ns = 0, text_ns = 0;
    for (int batch = 0; batch < URL_BENCH_BATCHES; ++batch) {
        double start = url_bench_now_ns();
        for (long round = 0; round < rounds; ++round) {
            for (int i = 0; i < URL_CORPUS_SIZE; ++i)
                curl_url_cleanup(parse(url_corpus[i]));
        }
        parse_ns = url_bench_best(parse_ns, start, rounds);
    }
    for (int batch = 0; batch < URL_BENCH_BATCHES; ++batch) {
        double start = url_bench_now_ns();
        for (long round = 0; round < rounds; ++round) {
            for (int i = 0; i < URL_CORPUS_SIZE; ++i) {
                char *text = NULL;
                if (curl_url_get(records[i], CURLUPART_URL, &text, 0) != CURLUE_OK) return 1;
                curl_free(text);
            }
        }
        text_ns = url_bench_best(text_ns, start, rounds);
    }
    for (int i = 0; i < URL_CORPUS_SIZE; ++i)
        curl_url_cleanup(records[i]);
    printf("parse_ns %.1f text_ns %.1f\n", parse_ns, text_ns);
    return 0;
}
