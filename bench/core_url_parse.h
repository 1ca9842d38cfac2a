// The core's parse of one URL text, timed: the baseline the URL benchmarks
// share. The parsers' traces are discarded while it runs.
#pragma once

#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_url.h>

#include <benchmark/benchmark.h>

inline void benchCoreUrlParse(benchmark::State &state, const char *text)
{
    rpf_diagnostics_set_stream(nullptr);
    for ([[maybe_unused]] auto _ : state) {
        rpf_url *url = rpf_url_new_from_string(text);
        benchmark::DoNotOptimize(url);
        rpf_url_dealloc(url);
    }
    state.SetItemsProcessed(state.iterations());
    rpf_diagnostics_reset();
}
