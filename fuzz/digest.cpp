#include "digest.h"

#include <string>

namespace trvfuzz {

namespace {

/// Calls `work(row, bytes)` with the bytes of each row that there is.
template <class Work>
void ForEachRow(const trvhost::Host& host, const trvhost::Ref& image, Work&& work) {
    const auto number = [&](const char* property) { return host.Get<int64_t>(image, property); };
    if (!host.Get<bool>(image, "Valid")) return;
    const int64_t height = number("Height");
    const int64_t width = number("Width");
    if (height < 1 || width < 1 || width > Digest::kMostPixels || height > Digest::kMostPixels / width)
        return;
    const int64_t bytes = width * number("PixelSize");
    for (int64_t y = 0; y < height; ++y) {
        auto* row = static_cast<char*>(host.Call(image, "RawRowPtr", y).ToPointer());
        if (row != nullptr) work(row, static_cast<size_t>(bytes));
    }
}

}  // namespace

void Digest::AddImage(const trvhost::Host& host, const trvhost::Ref& image) {
    for (const char* property : {"Width", "Height", "ImageFormat"})
        Add(std::to_string(host.Get<int64_t>(image, property)));
    ForEachRow(host, image, [&](const char* row, size_t bytes) { Add({row, bytes}); });
}

void FillWithNoise(const trvhost::Host& host, const trvhost::Ref& image, uint64_t seed) {
    ForEachRow(host, image, [&](char* row, size_t bytes) {
        for (size_t i = 0; i < bytes; ++i) {
            seed = seed * 6364136223846793005 + 1442695040888963407;
            row[i] = static_cast<char>(seed >> 56);
        }
    });
}

}  // namespace trvfuzz
