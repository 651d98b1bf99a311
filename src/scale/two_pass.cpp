#include "scale/two_pass.h"

#include <limits>

#include "frame/debug_log.h"
#include "frame/references.h"
#include "image/picture_factory.h"
#include "image/pixel_loop.h"
#include "scale/contributions.h"
#include "scale/fused_passes.h"
#include "scale/held_image.h"
#include "scale/stage_name.h"

namespace trv {

namespace {

/// Both passes on the calling thread, with the host's time after each row.
class PlainRunner final : public PassRunner {
  public:
    void Horizontal(const RowPass& pass, const ScaleTask& task) override {
        TRV_LOG(StageName(task.family.name, 3).text);
        pass.Run(0, task.source.Height - 1, true);
    }
    void Vertical(const RowPass& pass, const ScaleTask& task) override {
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

/// A driver that has made its tests.
class Driver {
  public:
    Driver(const ScaleTask& task, TableBuilder builder, PassRunner& runner)
        : task_(task),
          builder_(builder),
          runner_(runner),
          yields_(runner.Yields() ? &task.destination : nullptr),
          xScale_(static_cast<double>(task.width) / static_cast<double>(task.source.Width)),
          yScale_(static_cast<double>(task.height) / static_cast<double>(task.source.Height)),
          shapes_(task) {}

    [[nodiscard]] bool Run(TempKind tempKind) {
        if (tempKind == TempKind::Private && CanFuse(task_)) {
            ContributionArray columns;
            ContributionArray rows;
            if (columns.Allocate(task_.width) && rows.Allocate(task_.height)) return RunFused(columns, rows);
        }
        return RunApart();
    }

  private:
    /// One table and pass after the other, with a word about each step.
    [[nodiscard]] bool RunApart() {
        ContributionArray contrib;
        (void)contrib.Allocate(task_.width);
        TRV_LOG("contrib", contrib.Lists());
        TRV_LOG("xScale*1000", xScale_ * 1000.0);
        TRV_LOG("yScale*1000", yScale_ * 1000.0);
        if (!HasLists(contrib)) return false;
        {
            const TableStep table = ColumnTable(contrib);
            if (!ShapesStay()) return false;
            runner_.Horizontal(HorizontalPass(task_, contrib.Lists()), task_);
            if (!ShapesStay()) return false;
        }

        if (task_.height > task_.width) (void)contrib.Allocate(task_.height);
        TRV_LOG("contrib", contrib.Lists());
        if (!HasLists(contrib)) return false;
        const TableStep table = RowTable(contrib);
        if (!ShapesStay()) return false;
        runner_.Vertical(VerticalPass(task_, contrib.Lists()), task_);
        return true;
    }

    /// Both tables, then passes that share the work by rows that are in the cache.
    [[nodiscard]] bool RunFused(ContributionArray& columns, ContributionArray& rows) {
        const TableStep columnTable = ColumnTable(columns);
        if (!ShapesStay()) return false;
        const TableStep rowTable = RowTable(rows);
        if (!ShapesStay()) return false;
        const HorizontalPass horizontal(task_, columns.Lists());
        const VerticalPass vertical(task_, rows.Lists());
        const FusedPasses fused(task_, horizontal, vertical);
        runner_.Horizontal(fused.First(), task_);
        if (!ShapesStay()) return false;
        runner_.Vertical(fused.Second(), task_);
        return true;
    }

    /// The table of the horizontal pass, in `array`.
    [[nodiscard]] TableStep ColumnTable(ContributionArray& array) const {
        const TableRequest request{yields_, task_.source.Width, xScale_, task_.TempColumns(),
                                   task_.family.name};
        return {array, request, TableStage::Scale1, TableStage::Scale2, builder_};
    }
    /// The table of the vertical pass.
    [[nodiscard]] TableStep RowTable(ContributionArray& array) const {
        const TableRequest request{yields_, task_.temp.Height, yScale_, task_.DestinationRows(),
                                   task_.family.name};
        return {array, request, TableStage::Scale4, TableStage::Scale5, builder_};
    }

    [[nodiscard]] bool ShapesStay() const { return shapes_.AreThoseOf(task_); }
    [[nodiscard]] static bool HasLists(const ContributionArray& contrib) {
        if (contrib.Lists() == nullptr) TRV_LOG("Failed to allocate contrib");
        return contrib.Lists() != nullptr;
    }

    const ScaleTask task_;
    const TableBuilder builder_;
    PassRunner& runner_;
    PictureTRV* const yields_;
    const double xScale_;
    const double yScale_;
    const ScaleShapes shapes_;
};

/// What became of one round through the front end.
enum class Round { Refused, Done, WrongFormat };

/// Takes the temp, or makes one, and runs the driver with it.
Round RunFamily(const ScaleFamily& family, const ScaleRequest& request) {
    PlainRunner runner;
    LogFamily(family, request);
    if (request.temp != nullptr) {
        const bool done = RunDriver(family, request, request.temp, TempKind::Shared, runner);
        return done ? Round::Done : Round::Refused;
    }
    TRV_LOG("Create temp picture");
    const PictureTRV* source = RecordOf(request.source);
    const TempKind kind = KindOfNewTemp(*source);
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
    return RunDriver(family, request, temp.Get(), kind, runner) ? Round::Done : Round::Refused;
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

TempKind KindOfNewTemp(const PictureTRV& source) {
    return HasFactory(&source) ? TempKind::Shared : TempKind::Private;
}

bool RunDriver(const ScaleFamily& family, const ScaleRequest& request, HostObject tempObject,
               TempKind tempKind, PassRunner& runner) {
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
        return Driver({family, *destination, *source, *temp, request.width, request.height}, builder, runner)
            .Run(tempKind);
    }
    HeldImage held[] = {HeldImage(*destination), HeldImage(*source), HeldImage(*temp)};
    return Driver(
               {family, held[0].Record(), held[1].Record(), held[2].Record(), request.width, request.height},
               builder, runner)
        .Run(tempKind);
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
