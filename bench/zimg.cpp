#include "zimg.h"

#include <cstdlib>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <zimg.h>

namespace trvbench {
namespace {

constexpr size_t kAlignment = 64;

struct Free {
    void operator()(void* block) const { std::free(block); }
};

std::unique_ptr<uint8_t, Free> Allocate(size_t size) {
    return std::unique_ptr<uint8_t, Free>(static_cast<uint8_t*>(
        std::aligned_alloc(kAlignment, (size + kAlignment - 1) / kAlignment * kAlignment)));
}

/// One plane of 8 bits with rows as the library wants them.
class Plane {
  public:
    explicit Plane(Size size)
        : size_(size),
          stride_((static_cast<size_t>(size.width) + kAlignment - 1) / kAlignment * kAlignment),
          pixels_(Allocate(stride_ * static_cast<size_t>(size.height))) {}

    [[nodiscard]] cv::Mat AsMat() const {
        return {size_.height, size_.width, CV_8UC1, pixels_.get(), stride_};
    }
    [[nodiscard]] zimg_image_buffer_const Source() const {
        zimg_image_buffer_const buffer = {};
        buffer.version = ZIMG_API_VERSION;
        buffer.plane[0] = {pixels_.get(), static_cast<ptrdiff_t>(stride_), ZIMG_BUFFER_MAX};
        return buffer;
    }
    [[nodiscard]] zimg_image_buffer Target() const {
        zimg_image_buffer buffer = {};
        buffer.version = ZIMG_API_VERSION;
        buffer.plane[0] = {pixels_.get(), static_cast<ptrdiff_t>(stride_), ZIMG_BUFFER_MAX};
        return buffer;
    }

  private:
    Size size_;
    size_t stride_;
    std::unique_ptr<uint8_t, Free> pixels_;
};

zimg_image_format FormatOf(Size size) {
    zimg_image_format format;
    zimg_image_format_default(&format, ZIMG_API_VERSION);
    format.width = static_cast<unsigned>(size.width);
    format.height = static_cast<unsigned>(size.height);
    format.pixel_type = ZIMG_PIXEL_BYTE;
    format.color_family = ZIMG_COLOR_GREY;
    format.pixel_range = ZIMG_RANGE_FULL;
    return format;
}

/// Scales packed pixels: planes out of them, each plane scaled, pixels out of the planes.
class Scaler {
  public:
    explicit Scaler(const ScaleCase& scale)
        : scale_(scale),
          packedSource_(scale.from.height, scale.from.width, CV_8UC(ChannelsOf(scale.layout))),
          packedTarget_(scale.to.height, scale.to.width, CV_8UC(ChannelsOf(scale.layout))) {
        const size_t count = BytesOf(scale.layout, scale.from);
        std::copy_n(SourceBytes(count).data(), count, packedSource_.data);
        for (int channel = 0; channel < ChannelsOf(scale.layout); ++channel) {
            sources_.emplace_back(scale.from);
            targets_.emplace_back(scale.to);
            sourceMats_.push_back(sources_.back().AsMat());
            targetMats_.push_back(targets_.back().AsMat());
        }
        // A gray image is a plane already: it lies where the library wants it before the clock starts.
        if (scale.layout == Layout::Gray) packedSource_.copyTo(sourceMats_[0]);
        BuildGraph();
    }

    void Run() {
        const bool packed = scale_.layout != Layout::Gray;
        if (packed) cv::split(packedSource_, sourceMats_);
        for (size_t plane = 0; plane < sources_.size(); ++plane) {
            const zimg_image_buffer_const source = sources_[plane].Source();
            const zimg_image_buffer target = targets_[plane].Target();
            if (zimg_filter_graph_process(graph_.get(), &source, &target, scratch_.get(), nullptr, nullptr,
                                          nullptr, nullptr) != ZIMG_ERROR_SUCCESS)
                throw std::runtime_error("zimg failed");
        }
        if (packed) cv::merge(targetMats_, packedTarget_);
    }

  private:
    void BuildGraph() {
        const zimg_image_format from = FormatOf(scale_.from);
        const zimg_image_format to = FormatOf(scale_.to);
        zimg_graph_builder_params parameters;
        zimg_graph_builder_params_default(&parameters, ZIMG_API_VERSION);
        parameters.cpu_type = ZIMG_CPU_AUTO_64B;
        parameters.resample_filter =
            scale_.filter == Filter::Triangle ? ZIMG_RESIZE_BILINEAR : ZIMG_RESIZE_LANCZOS;
        if (scale_.filter == Filter::Lanczos3) parameters.filter_param_a = 3;
        graph_ = {zimg_filter_graph_build(&from, &to, &parameters), &zimg_filter_graph_free};
        size_t scratchSize = 0;
        if (graph_ == nullptr ||
            zimg_filter_graph_get_tmp_size(graph_.get(), &scratchSize) != ZIMG_ERROR_SUCCESS)
            throw std::runtime_error("zimg cannot build its graph");
        scratch_ = Allocate(scratchSize);
    }

    ScaleCase scale_;
    cv::Mat packedSource_;
    cv::Mat packedTarget_;
    std::vector<Plane> sources_;
    std::vector<Plane> targets_;
    std::vector<cv::Mat> sourceMats_;
    std::vector<cv::Mat> targetMats_;
    std::unique_ptr<zimg_filter_graph, void (*)(zimg_filter_graph*)> graph_{nullptr, &zimg_filter_graph_free};
    std::unique_ptr<uint8_t, Free> scratch_;
};

}  // namespace

Work ScaleWithZimg(const ScaleCase& scale) {
    cv::setNumThreads(1);
    const auto scaler = std::make_shared<Scaler>(scale);
    return [=]() { scaler->Run(); };
}

std::string ZimgVersion() {
    unsigned major = 0;
    unsigned minor = 0;
    unsigned micro = 0;
    zimg_get_version_info(&major, &minor, &micro);
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(micro);
}

}  // namespace trvbench
