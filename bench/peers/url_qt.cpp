// Qt's QUrl parsing and text form over the shared corpus:
//   url-qt [ROUNDS]
// Prints "parse_ns P text_ns T" (nanoseconds per URL).
#include <QString>
#include <QUrl>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "url_corpus.h"

int main(int argc, char **argv)
{
    const long rounds = argc > 1 ? std::atol(argv[1]) : 20000;
    // The texts arrive as UTF-8 bytes, as the core's do; QUrl needs a QString.
    std::vector<QUrl> records;
    for (const char *text : url_corpus)
        records.emplace_back(QString::fromUtf8(text));
    qsizetype valid = 0, length = 0;
    double parse = 0, text = 0;
    for (int batch = 0; batch < URL_BENCH_BATCHES; ++batch) {
        const double start = url_bench_now_ns();
        for (long round = 0; round < rounds; ++round) {
            for (const char *text : url_corpus)
                valid += QUrl(QString::fromUtf8(text)).isValid();
        }
        parse = url_bench_best(parse, start, rounds);
    }
    for (int batch = 0; batch < URL_BENCH_BATCHES; ++batch) {
        const double start = url_bench_now_ns();
        for (long round = 0; round < rounds; ++round) {
            for (const QUrl &url : records)
                length += url.toString().toUtf8().size();
        }
        text = url_bench_best(text, start, rounds);
    }
    std::printf("parse_ns %.1f text_ns %.1f valid %lld length %lld\n", parse, text, static_cast<long long>(valid),
                static_cast<long long>(length));
    return 0;
}
