// The listing parser alone: a 100,000-line listing text, in lines per second.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "ftpclientImpl.h"

namespace {

std::string Listing(int lines)
{
    std::string text;
    text.reserve(static_cast<size_t>(lines) * 64);
    for (int i = 0; i < lines; ++i) {
        switch (i % 4) {
        case 0: text += "-rw-r--r--    1 1001     1001        " + std::to_string(i) + " Nov 21 09:04 file" + std::to_string(i) + ".bin\r\n"; break;
        case 1: text += "drwxr-xr-x    2 1001     1001         4096 Dec 31  2020 dir " + std::to_string(i) + "\r\n"; break;
        case 2: text += "lrwxrwxrwx    1 1001     1001            9 Mar  5  2019 link" + std::to_string(i) + " -> target\r\n"; break;
        default: text += "-rw-------    1 1001     1001            0 Jan  1 00:00 empty" + std::to_string(i) + "\r\n"; break;
        }
    }
    return text;
}

void ParseListing(benchmark::State& state)
{
    const int lines = static_cast<int>(state.range(0));
    const std::string text = Listing(lines);
    for (auto _ : state) {
        std::vector<PLX_FTP_CLIENT::TkFileInfo*> records;
        records.reserve(static_cast<size_t>(lines));
        PLX_FTP_CLIENT::InterpDirInfo(text, false, records);
        benchmark::DoNotOptimize(records.data());
        for (PLX_FTP_CLIENT::TkFileInfo* record : records) {
            delete record;
        }
    }
    state.SetItemsProcessed(state.iterations() * lines);
    state.counters["lines_per_second"] =
        benchmark::Counter(static_cast<double>(lines), benchmark::Counter::kIsIterationInvariantRate);
}

BENCHMARK(ParseListing)->Arg(100000)->Unit(benchmark::kMillisecond)->MinTime(2.0);

} // namespace

BENCHMARK_MAIN();
