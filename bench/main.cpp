// Measures the plug-in next to memcpy and to the libraries people use instead, and prints one table.
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstring>
#include <random>

#include "cases.h"
#include "table.h"

namespace trvbench {

std::span<const uint8_t> SourceBytes(size_t count) {
    static const std::vector<uint8_t> bytes = [] {
        std::vector<uint8_t> filled(4000 * 3000 * 4);
        std::mt19937 random(1);
        std::generate(filled.begin(), filled.end(), [&] { return static_cast<uint8_t>(random()); });
        return filled;
    }();
    return std::span(bytes).first(count);
}

namespace {

constexpr Size kLarge = {4000, 3000};
constexpr Size kSmall = {1000, 750};

const char* NameOf(Layout layout) {
    return layout == Layout::Gray ? "gray" : layout == Layout::Rgb ? "RGB" : "RGBA";
}

const char* NameOf(Filter filter) {
    return filter == Filter::Triangle ? "ScaleTriangle" : "ScaleLanczos3";
}

std::string TextOf(Size size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

Work CopyBytes(size_t count) {
    const auto target = std::make_shared<std::vector<uint8_t>>(count);
    return [=]() {
        std::memcpy(target->data(), SourceBytes(count).data(), count);
        benchmark::ClobberMemory();
    };
}

/// The table's lines in their order; the runs come in random order.
std::vector<std::string>& Operations() {
    static std::vector<std::string> operations;
    return operations;
}

void Enter(const std::string& operation, const std::string& contender, const MakeWork& make) {
    if (contender == kPlugin) Operations().push_back(operation);
    benchmark::RegisterBenchmark(CellName(operation, contender).c_str(),
                                 [make](benchmark::State& state) {
                                     try {
                                         const Work work = make();
                                         // The first run touches fresh memory.
                                         work();
                                         for ([[maybe_unused]] auto _ : state)
                                             work();
                                     } catch (const std::exception& error) {
                                         state.SkipWithError(error.what());
                                     }
                                 })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

void EnterScale(const ScaleCase& scale) {
    const std::string operation = std::string(NameOf(scale.filter)) + " " + NameOf(scale.layout) + " " +
                                  TextOf(scale.from) + " to " + TextOf(scale.to);
    const size_t larger = std::max(BytesOf(scale.layout, scale.from), BytesOf(scale.layout, scale.to));
    Enter(operation, kPlugin, [=] { return ScaleWithPlugin(scale); });
    Enter(operation, kMemcpy, [=] { return CopyBytes(larger); });
    Enter(operation, kOpenCv, [=] { return ScaleWithOpenCv(scale); });
    Enter(operation, kVips, [=] { return ScaleWithVips(scale); });
    Enter(operation, kZimg, [=] { return ScaleWithZimg(scale); });
    Enter(operation, kPillow, [=] { return ScaleWithPillow(scale); });
}

void EnterFills(Layout layout) {
    const struct {
        const char* name;
        Work (*make)(Layout, Size);
    } fills[] = {{"FillRect", FillRectWithPlugin},
                 {"FillRectRGB", FillRectRgbWithPlugin},
                 {"ClearRect", ClearRectWithPlugin}};
    for (const auto& fill : fills) {
        const std::string operation = std::string(fill.name) + " " + NameOf(layout) + " " + TextOf(kLarge);
        Enter(operation, kPlugin, [=] { return fill.make(layout, kLarge); });
        Enter(operation, kMemcpy, [=] { return CopyBytes(BytesOf(layout, kLarge)); });
        Enter(operation, kOpenCv, [=] { return FillWithOpenCv(layout, kLarge); });
    }
}

void EnterPictures() {
    const std::string open = "Constructor(pic) " + TextOf(kLarge);
    Enter(open, kPlugin, [] { return OpenPictureWithPlugin(kLarge); });
    const std::string copy = "CopyPicture " + TextOf(kLarge);
    Enter(copy, kPlugin, [] { return CopyPictureWithPlugin(kLarge); });
    for (const std::string& operation : {open, copy}) {
        Enter(operation, kMemcpy, [] { return CopyBytes(BytesOf(Layout::Rgba, kLarge)); });
        Enter(operation, kOpenCv, [] { return CloneWithOpenCv(Layout::Rgba, kLarge); });
    }
}

void EnterAll() {
    for (const Layout layout : {Layout::Rgba, Layout::Rgb, Layout::Gray}) {
        for (const Filter filter : {Filter::Lanczos3, Filter::Triangle}) {
            EnterScale({layout, filter, kLarge, kSmall});
            EnterScale({layout, filter, kSmall, kLarge});
        }
        EnterFills(layout);
    }
    EnterPictures();
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
        "counted. Filling and copying by OpenCV: setTo and clone.\n\n");
    std::fflush(stdout);
}

}  // namespace
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
    trvbench::EnterAll();
    trvbench::Table table(trvbench::Operations());
    benchmark::RunSpecifiedBenchmarks(&table);
    return table.Faults() == 0 ? 0 : 1;
}
