#pragma once

// Images for tests from inside: a record over a buffer with guard bytes around it, made without a host.

#include <cstring>
#include <random>
#include <vector>

#include "blackbox/scale_reference.h"
#include "image/picture_record.h"
#include "image/row_readers.h"

namespace trv::test {

class RecordImage {
  public:
    /// `spare` bytes follow each row. The store is filled with noise.
    RecordImage(int64_t width, int64_t height, int64_t format, unsigned seed, int64_t spare = 0) {
        pictureClass.forSystemUse = kHostPart;
        object_.resize(kHostPart + sizeof(PictureTRV));
        PictureTRV& record = Record();
        InitImageClassData(&record, width, height, format);
        record.RowSize = width * record.PixelSize + spare;
        record.TotalSize = record.RowSize * height;
        store_.resize(static_cast<size_t>(record.TotalSize) + 2 * kGuard);
        std::mt19937 random(seed);
        for (uint8_t& byte : store_)
            byte = static_cast<uint8_t>(random());
        start_ = store_;
        record.RowBuffer = store_.data() + kGuard;
        record.GetRow = &GetRowLinear;
        record.MappingRows = height;
        record.Valid = 1;
    }
    RecordImage(const RecordImage&) = delete;
    RecordImage& operator=(const RecordImage&) = delete;

    [[nodiscard]] PictureTRV& Record() { return *reinterpret_cast<PictureTRV*>(object_.data() + kHostPart); }
    [[nodiscard]] HostObject Object() { return reinterpret_cast<HostObject>(object_.data()); }
    [[nodiscard]] std::vector<uint8_t> Bytes() const {
        return {store_.begin() + kGuard, store_.end() - kGuard};
    }
    void SetBytes(const std::vector<uint8_t>& bytes) {
        std::copy(bytes.begin(), bytes.end(), store_.begin() + kGuard);
    }
    [[nodiscard]] bool GuardsIntact() const {
        return std::equal(store_.begin(), store_.begin() + kGuard, start_.begin()) &&
               std::equal(store_.end() - kGuard, store_.end(), start_.end() - kGuard);
    }

    /// The image as the reference sees it, with a copy of its bytes.
    [[nodiscard]] trvtest::reference::Image Model() {
        const PictureTRV& record = Record();
        trvtest::reference::Image image;
        image.width = record.Width;
        image.height = record.Height;
        image.pixelSize = record.PixelSize;
        image.rowSize = record.RowSize;
        image.bits = record.BitsPerComponent;
        image.gray = record.IsGray != 0;
        image.rgb = record.IsRGB != 0;
        image.cmyk = record.IsCMYK != 0;
        image.alpha = record.HasAlpha != 0;
        image.redAt = record.RedOffset;
        image.greenAt = record.GreenOffset;
        image.blueAt = record.BlueOffset;
        image.grayAt = record.GrayOffset;
        image.alphaAt = record.AlphaOffset;
        image.cyanAt = record.CyanOffset;
        image.magentaAt = record.MagentaOffset;
        image.yellowAt = record.YellowOffset;
        image.blackAt = record.BlackOffset;
        image.firstRow = record.RowOffset;
        image.mirrored = record.GetRow == &GetRowLinearMirrored;
        image.bytes = Bytes();
        return image;
    }

  private:
    static constexpr size_t kHostPart = 48;
    static constexpr size_t kGuard = 64;

    alignas(16) std::vector<uint8_t> object_;
    std::vector<uint8_t> store_;
    std::vector<uint8_t> start_;
};

}  // namespace trv::test
