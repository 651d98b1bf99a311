#include "scale/two_pass.h"

#include <limits>

#include "frame/debug_log.h"
#include "frame/references.h"
#include "image/picture_factory.h"
#include "image/pixel_loop.h"
#include "scale/contributions.h"
#include "scale/held_image.h"
#include "scale/stage_name.h"

namespace trv {

namespace {

/// Both passes on the calling thread, with the host's time after each row.
class PlainRunner final : public PassRunner {
  public:
    void Horizontal(const HorizontalPass& pass, const ScaleTask& task) override {
        TRV_LOG(StageName(task.family.name, 3).text);
        pass.Run(0, task.source.Height - 1, true);
    }
    void Vertical(const VerticalPass& pass, const ScaleTask& task) override {
        TRV_LOG(StageName(task.family.name, 6).text);
        TRV_LOG("me->PixelSize", task.destination.PixelSize);
        TRV_LOG("mdest->PixelSize", task.destination.PixelSize);
        TRV_LOG("mtemp->PixelSize", task.temp.PixelSize);
        pass.Run(0, task.height - 1, true);
        TRV_LOG("function 6 done");
    }
    [[nodiscard]] bool Yields() const override { return true; }
};

/// Taps name their pixel by 32 bits.
bool FitsTables(const PictureTRV& image) {
    constexpr int64_t kMost = std::numeric_limits<int32_t>::max();
    if (image.Width <= kMost && image.Height <= kMost) return true;
    TRV_LOG("Picture too large to scale", image.Width, image.Height);
    return false;
}

/// A 16-bit sample that was moved to a pixel's last byte would reach out of the store at the last pixel.
bool HoldsWords(const ScaleFamily& family, const PictureTRV& image) {
    if (!family.wide || image.GrayOffset % image.PixelSize + 2 <= image.PixelSize) return true;
    TRV_LOG("GrayOffset leaves no room for 16 bits", image.GrayOffset);
    return false;
}

/// The array of lists with a table in it, for the length of one pass.
class TableStep {
  public:
    TableStep(ContributionArray& array, const TableRequest& request, TableStage shrinking,
              TableStage enlarging, TableBuilder builder)
        : array_(array), count_(request.listCount) {
        builder(1.0 > request.scale ? shrinking : enlarging, request, array.Lists());
    }
    ~TableStep() { array_.FreeLists(count_); }
    TableStep(const TableStep&) = delete;
    TableStep& operator=(const TableStep&) = delete;

  private:
    ContributionArray& array_;
    const int64_t count_;
};

/// The two tables and passes of a driver that has made its tests.
bool RunPasses(const ScaleTask& task, TableBuilder builder, PassRunner& runner) {
    PictureTRV* yields = runner.Yields() ? &task.destination : nullptr;
    const double xScale = static_cast<double>(task.width) / static_cast<double>(task.source.Width);
    const double yScale = static_cast<double>(task.height) / static_cast<double>(task.source.Height);
    const ScaleShapes shapes(task);
    ContributionArray contrib;
    const auto haveArray = [&] {
        if (contrib.Lists() == nullptr) TRV_LOG("Failed to allocate contrib");
        return contrib.Lists() != nullptr;
    };

    (void)contrib.Allocate(task.width);
    TRV_LOG("contrib", contrib.Lists());
    TRV_LOG("xScale*1000", xScale * 1000.0);
    TRV_LOG("yScale*1000", yScale * 1000.0);
    if (!haveArray()) return false;
    {
        const TableRequest request{yields, task.source.Width, xScale, task.TempColumns(), task.family.name};
        const TableStep table(contrib, request, TableStage::Scale1, TableStage::Scale2, builder);
        if (!shapes.AreThoseOf(task)) return false;
        runner.Horizontal(HorizontalPass(task, contrib.Lists()), task);
        if (!shapes.AreThoseOf(task)) return false;
    }

    if (task.height > task.width) (void)contrib.Allocate(task.height);
    TRV_LOG("contrib", contrib.Lists());
    if (!haveArray()) return false;
    const TableRequest request{yields, task.temp.Height, yScale, task.DestinationRows(), task.family.name};
    const TableStep table(contrib, request, TableStage::Scale4, TableStage::Scale5, builder);
    if (!shapes.AreThoseOf(task)) return false;
    runner.Vertical(VerticalPass(task, contrib.Lists()), task);
    return true;
}

/// What became of one round through the front end.
enum class Round { Refused, Done, WrongFormat };

/// Takes the temp, or makes one, and runs the driver with it.
Round RunFamily(const ScaleFamily& family, const ScaleRequest& request) {
    PlainRunner runner;
    LogFamily(family, request);
    if (request.temp != nullptr) {
        return RunDriver(family, request, request.temp, runner) ? Round::Done : Round::Refused;
    }
    TRV_LOG("Create temp picture");
    const PictureTRV* source = RecordOf(request.source);
    const ObjectReference temp(CreatePicture(source, request.width, source->Height, family.tempFormat));
    if (!temp) {
        TRV_LOG("CreatePicture returned nil");
        return Round::Refused;
    }
    if (RecordOf(temp.Get())->Valid == 0) {
        TRV_LOG("CreatePicture gave invalid picture");
        return Round::Refused;
    }
    if (RecordOf(temp.Get())->ImageFormat != family.tempFormat) {
        TRV_LOG("CreatePicture gave invalid format");
        return Round::WrongFormat;
    }
    return RunDriver(family, request, temp.Get(), runner) ? Round::Done : Round::Refused;
}

/// The front end's tests; the first that fails names itself.
bool CheckRequest(const ScaleRequest& request) {
    const char* failure = nullptr;
    if (request.destination == nullptr) {
        failure = "dest is nil";
    } else if (request.source == nullptr) {
        failure = "source is nil";
    } else if (request.height < 1) {
        failure = "pDestHeight < 1";
    } else if (request.width < 1) {
        failure = "pDestWidth < 1";
    }
    if (failure != nullptr) TRV_LOG(failure);
    return failure == nullptr;
}

Round RunFrontEnd(const ScaleRequest& request) {
    TRV_LOG("PictureScaleTRV", request.mode, request.width, request.height);
    if (!CheckRequest(request)) return Round::Refused;
    if (FindTableBuilder(request.mode) == nullptr) {
        TRV_LOG("Invalid mode", request.mode);
        return Round::Refused;
    }
    const ScaleFamily* family = SelectFamily(request);
    return family == nullptr ? Round::Refused : RunFamily(*family, request);
}

}  // namespace

const ScaleFamily* SelectFamily(const ScaleRequest& request) {
    if (request.temp != nullptr && !IsValid(RecordOf(request.temp))) return nullptr;
    const PictureTRV* source = RecordOf(request.source);
    const PictureTRV* destination = RecordOf(request.destination);
    if (destination->Valid == 0 || source->Valid == 0) {
        TRV_LOG("Picture not valid.");
        return nullptr;
    }
    return SelectFamily(*source, *destination);
}

void LogFamily(const ScaleFamily& family, const ScaleRequest& request) {
    TRV_LOG(family.name, request.width, request.height);
    TRV_LOG("sizeof(MyPixel)", family.pixelBytes);
    TRV_LOG("Creating PictureReader");
}

bool RunDriver(const ScaleFamily& family, const ScaleRequest& request, HostObject tempObject,
               PassRunner& runner) {
    TRV_LOG(StageName(family.name, 7).text, request.width, request.height);
    PictureTRV* temp = RecordOf(tempObject);
    PictureTRV* destination = RecordOf(request.destination);
    PictureTRV* source = RecordOf(request.source);
    if (temp->Valid == 0 || destination->Valid == 0 || source->Valid == 0) {
        TRV_LOG("Picture not valid.");
        return false;
    }
    if (!StartImage(source) || !StartImage(destination) || !StartImage(temp)) return false;
    if (!FitsTables(*source) || !FitsTables(*temp)) return false;
    if (!HoldsWords(family, *source) || !HoldsWords(family, *destination)) return false;
    const TableBuilder builder = FindTableBuilder(request.mode);
    if (runner.Yields()) {
        return RunPasses({family, *destination, *source, *temp, request.width, request.height}, builder,
                         runner);
    }
    HeldImage held[] = {HeldImage(*destination), HeldImage(*source), HeldImage(*temp)};
    return RunPasses(
        {family, held[0].Record(), held[1].Record(), held[2].Record(), request.width, request.height},
        builder, runner);
}

bool Scale(const ScaleRequest& request) {
    Round round = Round::WrongFormat;
    while (round == Round::WrongFormat)
        round = RunFrontEnd(request);
    return round == Round::Done;
}

Boolean rbScale(HostObject me, HostObject source, HostObject temp, int64_t mode, int64_t width,
                int64_t height) {
    return Scale({me, source, temp, mode, width, height}) ? 1 : 0;
}

}  // namespace trv
