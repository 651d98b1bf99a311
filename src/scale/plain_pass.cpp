#include "scale/plain_pass.h"

#include "frame/debug_log.h"
#include "image/row_readers.h"

namespace trv {

namespace {

void StoreSample(uint8_t* at, uint16_t sample, bool wide) {
    if (wide) {
        std::memcpy(at, &sample, sizeof sample);
    } else {
        *at = static_cast<uint8_t>(sample);
    }
}

}  // namespace

SampleReader ReaderOf(const ScaleSlot& slot, const PictureTRV& source, bool wide) {
    SampleReader reader;
    if (slot.source == SlotSource::Luma) {
        reader = {SampleReader::Kind::Luma, source.RedOffset, source.GreenOffset, source.BlueOffset};
    } else {
        reader.kind = wide ? SampleReader::Kind::Word : SampleReader::Kind::Byte;
        reader.offset = OffsetOf(source, slot.channel);
    }
    return reader;
}

SampleReader ReaderOfTemp(const ScaleFamily& family, int slot) {
    SampleReader reader;
    reader.kind = family.wide ? SampleReader::Kind::Word : SampleReader::Kind::Byte;
    reader.offset = family.wide ? 2 * slot : slot;
    return reader;
}

void PlainHorizontalRow(const ScaleTask& task, const ContributionList* contrib, int64_t y) {
    const ScaleFamily& family = task.family;
    const uint8_t* row = FetchRow(task.source, y);
    const int64_t columns = task.TempColumns();
    for (int64_t x = 0; x < columns; ++x) {
        const auto address = [&](int64_t column) {
            return row == nullptr ? nullptr : row + column * task.source.PixelSize;
        };
        uint8_t pixel[2 * kMostSlots] = {};
        for (int slot = 0; slot < family.slotCount; ++slot) {
            const ScaleSlot& from = family.slots[static_cast<size_t>(slot)];
            if (from.source == SlotSource::Zero) continue;
            const double sum = ExactSum(ReaderOf(from, task.source, family.wide), contrib[x], address);
            StoreSample(pixel + ReaderOfTemp(family, slot).offset,
                        ExactSample(sum, contrib[x].weightSum, family.MaxValue()), family.wide);
        }
        uint8_t* target = FetchInside(task.temp, y);
        if (target == nullptr) {
            TRV_LOG("GetRow temp failed", y);
            continue;
        }
        std::memcpy(target + x * family.pixelBytes, pixel, static_cast<size_t>(family.pixelBytes));
    }
}

void PlainVerticalRow(const ScaleTask& task, const ContributionList* contrib, int64_t y) {
    const ScaleFamily& family = task.family;
    const int64_t columns = task.DestinationColumns();
    const ContributionList& list = contrib[y];
    for (int64_t x = 0; x < columns; ++x) {
        double sums[kMostSlots] = {};
        for (int64_t k = 0; k < list.count; ++k) {
            const ContributionEntry& entry = list.entries[k];
            if (entry.weight == 0.0F) continue;
            const uint8_t* row = FetchInside(task.temp, entry.pixel);
            if (row == nullptr) {
                TRV_LOG("GetRow temp failed", int64_t{entry.pixel});
                continue;
            }
            for (int slot = 0; slot < family.slotCount; ++slot) {
                sums[slot] += ReaderOfTemp(family, slot)
                                  .Term(row + x * family.pixelBytes, static_cast<double>(entry.weight));
            }
        }
        uint8_t* target = FetchInside(task.destination, y);
        if (target == nullptr) {
            TRV_LOG("GetRow mdest is nil", y);
            continue;
        }
        for (int w = 0; w < family.writeCount; ++w) {
            const ScaleWrite& write = family.writes[static_cast<size_t>(w)];
            const uint16_t sample = ExactSample(sums[write.slot], list.weightSum, family.MaxValue());
            StoreSample(target + x * task.destination.PixelSize + OffsetOf(task.destination, write.channel),
                        sample, family.wide);
        }
    }
}

}  // namespace trv
