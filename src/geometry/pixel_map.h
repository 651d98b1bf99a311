#pragma once

// Which bytes of a pixel an operation moves. Channels move through the offsets of each image, so spare bytes
// stay as they are and the two sides may have different orders; but mostly the two pixels look alike, and
// then a pixel moves as one.

#include <array>
#include <cstdint>
#include <cstring>
#include <utility>

#include "image/pixel_loop.h"

namespace trv {

/// Pixels of kSize bytes that move as they are, every byte of them.
template <int kSize>
struct WholePixel {
    static constexpr bool kWhole = true;
    [[nodiscard]] static constexpr int64_t FromSize() { return kSize; }
    [[nodiscard]] static constexpr int64_t ToSize() { return kSize; }
    static void Move(const uint8_t* from, uint8_t* to) { std::memcpy(to, from, kSize); }
    static void Swap(uint8_t* a, uint8_t* b) {
        std::array<uint8_t, kSize> held;
        std::memcpy(held.data(), a, kSize);
        std::memcpy(a, b, kSize);
        std::memcpy(b, held.data(), kSize);
    }
};

/// Pixels of 4 bytes of which some stay behind; the others keep their places.
struct MaskedPixel {
    static constexpr int64_t kBytes = 4;
    uint32_t keep;  // ones in the bytes that the target keeps

    [[nodiscard]] static constexpr int64_t FromSize() { return kBytes; }
    [[nodiscard]] static constexpr int64_t ToSize() { return kBytes; }
    void Move(const uint8_t* from, uint8_t* to) const {
        const uint32_t word = (Load(to) & keep) | (Load(from) & ~keep);
        std::memcpy(to, &word, sizeof word);
    }
    void Swap(uint8_t* a, uint8_t* b) const {
        const uint32_t wordA = Load(a);
        Move(b, a);
        const uint32_t word = (Load(b) & keep) | (wordA & ~keep);
        std::memcpy(b, &word, sizeof word);
    }

  private:
    static uint32_t Load(const uint8_t* bytes) {
        uint32_t word;
        std::memcpy(&word, bytes, sizeof word);
        return word;
    }
};

/// Pixels of any two layouts, byte by byte.
struct LoosePixel {
    struct Byte {
        int64_t from;
        int64_t to;
    };
    static constexpr int kMost = 5;

    std::array<Byte, kMost> bytes{};  // in the order of the stores
    int count = 0;
    int64_t fromSize = 0;
    int64_t toSize = 0;

    [[nodiscard]] int64_t FromSize() const { return fromSize; }
    [[nodiscard]] int64_t ToSize() const { return toSize; }
    void Move(const uint8_t* from, uint8_t* to) const {
        for (int i = 0; i < count; ++i) {
            const Byte& byte = bytes[static_cast<size_t>(i)];
            to[byte.to] = from[byte.from];
        }
    }
    /// Of pixels of one layout.
    void Swap(uint8_t* a, uint8_t* b) const {
        for (int i = 0; i < count; ++i) {
            const int64_t at = bytes[static_cast<size_t>(i)].to;
            std::swap(a[at], b[at]);
        }
    }
};

/// The bytes that move between the pixels of two images.
class PixelMap {
  public:
    /// The channels of family F from `source` into `dest`, which has them where its offsets say, whatever its
    /// own family is.
    template <class F>
    static PixelMap Between(F /*family*/, const PictureTRV& source, const PictureTRV& dest) {
        return Between(F::Offsets(source), source.PixelSize, F::Offsets(dest), dest.PixelSize);
    }

    /// The bytes at the offsets `from` of pixels of `fromSize` bytes to the offsets `to` of others.
    template <size_t kCount>
    static PixelMap Between(const std::array<int64_t, kCount>& from, int64_t fromSize,
                            const std::array<int64_t, kCount>& to, int64_t toSize) {
        PixelMap map(fromSize, toSize);
        for (size_t i = 0; i < kCount; ++i)
            map.Add(from[i], to[i]);
        map.Finish();
        return map;
    }

    /// The channels of family F within `image`, for pixels that change places. A byte that channels share
    /// counts once, or, with `evenStays`, not at all for an even number of them: swapped for each, it ends
    /// where it was.
    template <class F>
    static PixelMap Within(F /*family*/, const PictureTRV& image, bool evenStays) {
        PixelMap map(image.PixelSize, image.PixelSize);
        for (const int64_t offset : F::Offsets(image)) {
            const bool shared = map.Remove(offset);
            if (!shared || !evenStays) map.Add(offset, offset);
        }
        map.Finish();
        return map;
    }

    /// Whether the pixels' places do not overlap, so that they can be moved in any order.
    [[nodiscard]] bool AnyOrder() const { return toWindow_ >= 0; }
    /// Bytes from a source pixel's address to the end of what is read of it, and of a target's.
    [[nodiscard]] int64_t FromExtent() const { return fromExtent_; }
    [[nodiscard]] int64_t ToExtent() const { return toExtent_; }
    [[nodiscard]] const LoosePixel& Loose() const { return loose_; }
    /// The offset of the source pixel that all bytes are read from; -1 if they come from several.
    [[nodiscard]] int64_t FromWindow() const { return fromWindow_; }

    /// Calls `work(pixel, fromBase, toBase)` with the fastest form; the bases go onto the addresses of the
    /// pixels.
    template <class Work>
    void Dispatch(Work&& work) const {
        const auto whole = [&]<int kSize>() { work(WholePixel<kSize>{}, fromWindow_, toWindow_); };
        switch (form_) {
            case Form::Whole1:
                return whole.template operator()<1>();
            case Form::Whole2:
                return whole.template operator()<2>();
            case Form::Whole3:
                return whole.template operator()<3>();
            case Form::Whole4:
                return whole.template operator()<4>();
            case Form::Whole5:
                return whole.template operator()<5>();
            case Form::Masked:
                return work(MaskedPixel{keep_}, fromWindow_, toWindow_);
            case Form::Loose:
                return work(loose_, int64_t{0}, int64_t{0});
        }
    }

  private:
    enum class Form { Loose, Whole1, Whole2, Whole3, Whole4, Whole5, Masked };

    PixelMap(int64_t fromSize, int64_t toSize) {
        loose_.fromSize = fromSize;
        loose_.toSize = toSize;
    }
    void Add(int64_t from, int64_t to);
    [[nodiscard]] bool Remove(int64_t offset);
    void Finish();
    [[nodiscard]] Form BestForm();

    LoosePixel loose_;
    Form form_ = Form::Loose;
    int64_t fromWindow_ = -1;  // where the pixel begins that all bytes belong to; -1 if there is none
    int64_t toWindow_ = -1;
    int64_t fromExtent_ = 0;
    int64_t toExtent_ = 0;
    uint32_t keep_ = 0;
};

}  // namespace trv
