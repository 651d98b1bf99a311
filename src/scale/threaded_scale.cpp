#include "scale/threaded_scale.h"

#include <cstdio>

#include "frame/debug_log.h"
#include "frame/references.h"
#include "image/picture_factory.h"
#include "image/store_overlap.h"
#include "scale/contributions.h"
#include "scale/stage_name.h"
#include "scale/two_pass.h"
#include "threads/worker_runner.h"

namespace trv {

namespace {

/// The pass that a job works on.
struct PassBlock {
    const RowPass& pass;
    const char* family;
};

/// The start of a job: its label, and its worker's name.
void StartJob(const char* family, int stage, const char* name, int64_t job, bool onMainThread) {
    TRV_LOG(StageName(family, stage, "mt").text);
    if (job < 0 || onMainThread) return;
    char text[32];
    std::snprintf(text, sizeof text, "%s %d", name, static_cast<int>(job));
    NameWorker(text);
}

void Scale3mt(int64_t first, int64_t last, int64_t job, bool onMainThread, void* data) {
    const auto& block = *static_cast<const PassBlock*>(data);
    StartJob(block.family, 3, "PictureScale Horizontal", job, onMainThread);
    if (first <= last) block.pass.Run(first, last, false);
}

void Scale6mt(int64_t first, int64_t last, int64_t job, bool onMainThread, void* data) {
    const auto& block = *static_cast<const PassBlock*>(data);
    StartJob(block.family, 6, "PictureScale Vertical", job, onMainThread);
    if (first <= last) block.pass.Run(first, last, false);
    TRV_LOG("function 6 done");
}

/// Both passes on workers, one after the other.
class ThreadedRunner final : public PassRunner {
  public:
    explicit ThreadedRunner(int64_t threads) : threads_(threads) {}

    void Horizontal(const RowPass& pass, const ScaleTask& task) override {
        PassBlock block{pass, task.family.name};
        RunThreads(threads_, task.source.Height, &block, Scale3mt);
    }
    void Vertical(const RowPass& pass, const ScaleTask& task) override {
        PassBlock block{pass, task.family.name};
        RunThreads(threads_, task.height, &block, Scale6mt);
    }
    [[nodiscard]] bool Yields() const override { return false; }

  private:
    int64_t threads_;
};

/// Whether the image's pixels can be taken away while the host has its time, whoever still holds them: those
/// of a locked bitmap go when the record that locked it, or a view's original, is closed.
bool CanLosePixels(const PictureTRV& image) {
    const PictureTRV* sharer = &image;
    do {
        if (sharer->BitmapLocked != 0) return true;
        sharer = sharer->NextSharer;
    } while (sharer != nullptr && sharer != &image);
    return false;
}

/// Whether workers would meet in the same bytes: a pass has them read rows while others write rows, and each
/// write rows of its own.
bool WorkersWouldMeet(PictureTRV& source, PictureTRV& temp, PictureTRV& destination) {
    return OrderMatters(source, temp) || OrderMatters(temp, destination);
}

/// The number of threads for these images: none where waiting for workers is not safe, and none where the
/// result would be a matter of chance.
int64_t SafeThreads(int64_t threads, const ScaleRequest& request, HostObject temp) {
    for (const HostObject image : {request.destination, request.source, temp}) {
        if (CanLosePixels(*RecordOf(image))) return -1;
    }
    const bool meet =
        WorkersWouldMeet(*RecordOf(request.source), *RecordOf(temp), *RecordOf(request.destination));
    return meet ? -1 : threads;
}

bool RunWith(const ScaleFamily& family, const ScaleRequest& request, HostObject temp, TempKind tempKind,
             int64_t threads) {
    ThreadedRunner runner(SafeThreads(threads, request, temp));
    return RunDriver(family, request, temp, tempKind, runner);
}

/// Takes the temp, or makes one, and runs the driver with it.
bool RunFamily(const ScaleFamily& family, const ScaleRequest& request, int64_t threads) {
    LogFamily(family, request);
    if (request.temp != nullptr) {
        // Workers would move its window away from each other.
        if (RecordOf(request.temp)->IsMapping != 0) return Scale(request);
        return RunWith(family, request, request.temp, TempKind::Shared, threads);
    }
    TRV_LOG("Create temp picture");
    const PictureTRV* source = RecordOf(request.source);
    const TempKind kind = KindOfNewTemp(*source);
    const ObjectReference temp(CreatePicture(source, request.width, source->Height, family.tempFormat));
    if (!temp) {
        TRV_LOG("CreatePicture returned nil");
        return false;
    }
    const PictureTRV& record = *RecordOf(temp.Get());
    if (record.Valid == 0) {
        TRV_LOG("CreatePicture gave invalid picture");
        return false;
    }
    if (record.ImageFormat != family.tempFormat || record.IsMapping != 0) {
        TRV_LOG(record.ImageFormat != family.tempFormat ? "CreatePicture gave invalid format"
                                                        : "CreatePicture gave mapping picture");
        ScaleRequest plain = request;
        plain.temp = temp.Get();
        return Scale(plain);
    }
    return RunWith(family, request, temp.Get(), kind, threads);
}

bool ScaleMT(int64_t threads, const ScaleRequest& request) {
    TRV_LOG("PictureScaleTRVMT", request.mode, request.width, request.height);
    if (request.destination == nullptr || request.source == nullptr) return false;
    if (request.height < 1 || request.width < 1) return false;
    const PictureTRV& source = *RecordOf(request.source);
    if (source.IsMapping != 0 || RecordOf(request.destination)->IsMapping != 0) return Scale(request);
    if (FindTableBuilder(request.mode) == nullptr) {
        TRV_LOG("Invalid mode", request.mode);
        return false;
    }
    const ScaleFamily* family = SelectFamily(request);
    if (family == nullptr) return false;
    if (source.IsGray != 0 && source.HasAlpha != 0 && source.BitsPerComponent == 16) return false;
    return RunFamily(*family, request, threads);
}

}  // namespace

Boolean rbScaleMT(HostObject me, int64_t threads, HostObject source, HostObject temp, int64_t mode,
                  int64_t width, int64_t height) {
    return ScaleMT(threads, {me, source, temp, mode, width, height}) ? 1 : 0;
}

}  // namespace trv
