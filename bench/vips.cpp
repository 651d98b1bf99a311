#include "vips.h"

#include <stdexcept>
#include <vips/vips.h>

namespace trvbench {
namespace {

struct ObjectDeleter {
    void operator()(VipsImage* image) const { g_object_unref(image); }
};
using Image = std::unique_ptr<VipsImage, ObjectDeleter>;

void StartVips() {
    static const bool started = [] {
        if (VIPS_INIT("trv_bench") != 0) throw std::runtime_error("libvips does not start");
        vips_concurrency_set(1);
        // Otherwise the second run would find the first one's result.
        vips_cache_set_max(0);
        return true;
    }();
    (void)started;
}

}  // namespace

Work ScaleWithVips(const ScaleCase& scale) {
    StartVips();
    const size_t count = BytesOf(scale.layout, scale.from);
    const auto bytes = SourceBytes(count);
    // The library keeps the pointer and reads the bytes at each run.
    const std::shared_ptr<VipsImage> source(
        vips_image_new_from_memory(bytes.data(), count, scale.from.width, scale.from.height,
                                   ChannelsOf(scale.layout), VIPS_FORMAT_UCHAR),
        ObjectDeleter());
    const VipsKernel kernel = scale.filter == Filter::Triangle ? VIPS_KERNEL_LINEAR : VIPS_KERNEL_LANCZOS3;
    return [=]() {
        // A gap of 0 keeps to the kernel alone, without a first step by whole factors; it is also ten times
        // as fast.
        VipsImage* scaled = nullptr;
        const double horizontal = static_cast<double>(scale.to.width) / scale.from.width;
        const double vertical = static_cast<double>(scale.to.height) / scale.from.height;
        if (vips_resize(source.get(), &scaled, horizontal, "vscale", vertical, "kernel", kernel, "gap", 0.0,
                        nullptr) != 0)
            throw std::runtime_error(vips_error_buffer());
        const Image owner(scaled);
        size_t size = 0;
        void* pixels = vips_image_write_to_memory(scaled, &size);
        if (size != BytesOf(scale.layout, scale.to)) throw std::runtime_error("libvips: another size");
        g_free(pixels);
    };
}

std::string VipsVersion() {
    return std::to_string(vips_version(0)) + "." + std::to_string(vips_version(1)) + "." +
           std::to_string(vips_version(2));
}

}  // namespace trvbench
