// Measures the plug-in next to memcpy and to the libraries people use instead, and prints one table.
#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstring>
#include <random>

#include "cases.h"
#include "opencv.h"
#include "pillow.h"
#include "table.h"
#include "vips.h"
#include "zimg.h"

namespace trvbench {

std::span<const uint8_t> SourceBytes(size_t count) {
    static const std::vector<uint8_t> bytes = [] {
        std::vector<uint8_t> filled(BytesOf(Layout::Rgba, kLarge));
        std::mt19937 random(1);
        std::generate(filled.begin(), filled.end(), [&] { return static_cast<uint8_t>(random()); });
        return filled;
    }();
    return std::span(bytes).first(count);
}

namespace {

Work CopyBytes(size_t count) {
    const auto target = std::make_shared<std::vector<uint8_t>>(count);
    return [=]() {
        std::memcpy(target->data(), SourceBytes(count).data(), count);
        benchmark::ClobberMemory();
    };
}

/// The table's lines in their order; the runs come in random order.
std::vector<TableLine>& Lines() {
    static std::vector<TableLine> lines;
    return lines;
}

void EnterRun(const std::string& operation, const std::string& contender, const MakeWork& make) {
    Lines().back().contenders.push_back(contender);
    benchmark::RegisterBenchmark(CellName(operation, contender).c_str(),
                                 [make](benchmark::State& state) {
                                     try {
                                         const Work work = make();
                                         // The first run touches fresh memory.
                                         work.run();
                                         for ([[maybe_unused]] auto _ : state) {
                                             if (work.before) {
                                                 state.PauseTiming();
                                                 work.before();
                                                 state.ResumeTiming();
                                             }
                                             work.run();
                                         }
                                     } catch (const std::exception& error) {
                                         state.SkipWithError(error.what());
                                     }
                                 })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

void PrintHead() {
    std::printf("OpenCV %s, libvips %s, zimg %s, Pillow %s; one thread each, medians.\n",
                OpenCvVersion().c_str(), VipsVersion().c_str(), ZimgVersion().c_str(),
                PillowVersion().c_str());
    std::printf(
        "memcpy copies the larger image. (x) behind memcpy: how many times as long the plug-in takes.\n"
        "(x) behind a library: its time divided by the plug-in's, so above 1 the plug-in is faster.\n"
        "Not the same filter: OpenCV reduces by INTER_AREA and enlarges by INTER_LANCZOS4 (4 lobes)\n"
        "or INTER_LINEAR; libvips enlarges by bicubic or bilinear interpolation. Pillow takes alpha as\n"
        "a fourth colour, as the others do. zimg is planar: splitting and merging of the channels is\n"
        "counted. Filling and copying by OpenCV: setTo and clone. Tones by OpenCV: LUT. Oil painting by\n"
        "GraphicsMagick goes by 256 tones of brightness, the plug-in by each channel.\n\n");
    std::fflush(stdout);
}

}  // namespace

void EnterLine(const std::string& operation, size_t copiedBytes, const MakeWork& own,
               const std::vector<Peer>& peers) {
    Lines().push_back({operation, {}});
    EnterRun(operation, kPlugin, own);
    EnterRun(operation, kMemcpy, [=] { return CopyBytes(copiedBytes); });
    for (const Peer& peer : peers)
        EnterRun(operation, peer.name, peer.make);
}

}  // namespace trvbench

int main(int argc, char** argv) {
    // A noisy machine: many short runs, all contenders in random order, and the median of each.
    std::vector<char*> arguments(argv, argv + argc);
    char interleave[] = "--benchmark_enable_random_interleaving=true";
    char repetitions[] = "--benchmark_repetitions=7";
    char time[] = "--benchmark_min_time=0.05";
    arguments.insert(arguments.begin() + 1, {interleave, repetitions, time});
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;

    trvbench::PrintHead();
    trvbench::EnterScaling();
    trvbench::EnterFills();
    trvbench::EnterPictures();
    trvbench::EnterRows();
    trvbench::EnterGeometry();
    trvbench::EnterNeighbourhoods();
    trvbench::EnterTones();
    trvbench::EnterEffects();
    trvbench::EnterCompositing();
    trvbench::Table table(trvbench::Lines());
    benchmark::RunSpecifiedBenchmarks(&table);
    return table.Faults() == 0 ? 0 : 1;
}
