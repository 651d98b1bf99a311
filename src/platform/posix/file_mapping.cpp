#include "platform/file_mapping.h"

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <new>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/faults.h"

namespace trv {

namespace {

/// A file descriptor with an owner.
class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number_ >= 0) close(number_);
    }
    [[nodiscard]] int Get() const { return number_; }

  private:
    int number_;
};

/// What is open. Reading a page that its file no longer has ends the process, so views are counted against
/// their mapping's length here and their files are kept from being cut.
struct Mapping {
    std::unique_ptr<Mapping> next;
    intptr_t handle;
    Descriptor descriptor;
    int64_t bytes;
};
struct View {
    std::unique_ptr<View> next;
    intptr_t mapping;
    int64_t offset;
    int64_t bytes;
    dev_t device;
    ino_t inode;
    void* base;

    explicit View(intptr_t ofMapping, int64_t from, int64_t length, const struct stat& file, void* at)
        : mapping(ofMapping),
          offset(from),
          bytes(length),
          device(file.st_dev),
          inode(file.st_ino),
          base(at) {}
    View(const View&) = delete;
    View& operator=(const View&) = delete;
    ~View() { munmap(base, static_cast<size_t>(bytes)); }
};

std::mutex mutex;
std::unique_ptr<Mapping> mappings;
std::unique_ptr<View> views;
std::unique_ptr<View> idleViews;  // given up, the latest first
intptr_t lastHandle = 0;          // handles are never used twice, so that a closed one stays closed

/// The link that holds the first node that `matches`; the empty last link if there is none.
template <class Node, class Matches>
std::unique_ptr<Node>* FindLink(std::unique_ptr<Node>& head, Matches matches) {
    std::unique_ptr<Node>* link = &head;
    while (*link != nullptr && !matches(**link))
        link = &(*link)->next;
    return link;
}

/// Views that were given up stay in place up to this many bytes: the system enters a view's pages one by one,
/// at several times the cost of reading them, so a window that comes back had better still be there.
constexpr int64_t kMostIdleBytes = int64_t{64} << 20;

template <class Node>
void PushFront(std::unique_ptr<Node>& head, std::unique_ptr<Node> node) {
    node->next = std::move(head);
    head = std::move(node);
}

/// Takes the node out of its list; empty for the empty last link.
template <class Node>
std::unique_ptr<Node> TakeNode(std::unique_ptr<Node>* link) {
    std::unique_ptr<Node> node = std::move(*link);
    if (node != nullptr) *link = std::move(node->next);
    return node;
}

template <class Matches>
void DropIdleViews(Matches matches) {
    while (TakeNode(FindLink(idleViews, matches)) != nullptr) {
    }
}

/// Keeps a view that was given up, and lets go of those that nobody came back for the longest.
void KeepIdle(std::unique_ptr<View> view) {
    PushFront(idleViews, std::move(view));
    int64_t bytes = 0;
    DropIdleViews([&](const View& candidate) { return (bytes += candidate.bytes) > kMostIdleBytes; });
}

bool Fail(int error) {
    errno = error;
    return false;
}

bool Describe(intptr_t file, struct stat& description) {
    return fstat(static_cast<int>(file), &description) == 0;
}

/// Reserves the room where the file system can, since a page that finds no room when it is written ends the
/// process as well.
bool Reserve(int file, int64_t bytes) {
    int refused = 0;
    do {
        refused = fallocate(file, 0, 0, bytes);
    } while (refused != 0 && errno == EINTR);
    if (refused == 0) return true;
    const bool cannotReserve = errno == EOPNOTSUPP || errno == ENOSYS;
    return cannotReserve && ftruncate(file, bytes) == 0;
}

std::unique_ptr<View> OpenView(const Mapping& mapping, int64_t offset, int64_t bytes,
                               const struct stat& description) {
    void* base = mmap(nullptr, static_cast<size_t>(bytes), PROT_READ | PROT_WRITE, MAP_SHARED,
                      mapping.descriptor.Get(), offset);
    if (base == MAP_FAILED) return nullptr;
    std::unique_ptr<View> view(new (std::nothrow) View(mapping.handle, offset, bytes, description, base));
    if (view == nullptr) munmap(base, static_cast<size_t>(bytes));
    return view;
}

}  // namespace

intptr_t OpenScratchFile(const char* path) {
    if (path == nullptr || Refused(Fault::File)) {
        errno = EINVAL;
        return kNoHandle;
    }
    // What is deleted in the end had better be a file: not a pipe, not a device.
    struct stat description {};
    if (stat(path, &description) == 0 && !S_ISREG(description.st_mode)) {
        errno = EINVAL;
        return kNoHandle;
    }
    return open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0666);
}

bool GrowFile(intptr_t file, int64_t bytes) {
    struct stat description {};
    if (!Describe(file, description)) return false;
    if (!S_ISREG(description.st_mode)) return Fail(EINVAL);
    if (Refused(Fault::FileSize)) return Fail(ENOSPC);
    return description.st_size >= bytes || Reserve(static_cast<int>(file), bytes);
}

bool RewindFile(intptr_t file) {
    return lseek(static_cast<int>(file), 0, SEEK_SET) == 0;
}

bool CutFile(intptr_t file) {
    struct stat description {};
    if (!Describe(file, description)) return false;
    const std::lock_guard lock(mutex);
    const auto isViewOfFile = [&](const View& view) {
        return view.device == description.st_dev && view.inode == description.st_ino;
    };
    DropIdleViews(isViewOfFile);
    if (*FindLink(views, isViewOfFile) != nullptr) return Fail(EBUSY);
    return ftruncate(static_cast<int>(file), 0) == 0;
}

int64_t FileSize(intptr_t file) {
    struct stat description {};
    return Describe(file, description) ? description.st_size : -1;
}

bool CloseFile(intptr_t file) {
    return close(static_cast<int>(file)) == 0;
}

bool RemoveFile(const char* path) {
    return path != nullptr ? unlink(path) == 0 : Fail(EINVAL);
}

intptr_t CreateMapping(intptr_t file, int64_t bytes) {
    if (bytes < 1 || Refused(Fault::Mapping)) {
        errno = EINVAL;
        return kNoHandle;
    }
    const bool anonymous = file == kNoHandle;
    const int descriptor = anonymous ? memfd_create("mapped image", MFD_CLOEXEC)
                                     : fcntl(static_cast<int>(file), F_DUPFD_CLOEXEC, 0);
    if (descriptor < 0) return kNoHandle;
    std::unique_ptr<Mapping> mapping(new (std::nothrow) Mapping{nullptr, 0, Descriptor(descriptor), bytes});
    if (mapping == nullptr) return kNoHandle;
    // Memory is given page by page when it is touched, as everywhere; a file has its room reserved.
    if (anonymous ? ftruncate(descriptor, bytes) != 0 : !GrowFile(descriptor, bytes)) return kNoHandle;
    const std::lock_guard lock(mutex);
    const intptr_t handle = mapping->handle = ++lastHandle;
    PushFront(mappings, std::move(mapping));
    return handle;
}

bool CloseMapping(intptr_t mapping) {
    const std::lock_guard lock(mutex);
    DropIdleViews([&](const View& view) { return view.mapping == mapping; });
    auto* link = FindLink(mappings, [&](const Mapping& candidate) { return candidate.handle == mapping; });
    return TakeNode(link) != nullptr || Fail(EBADF);
}

void* MapView(intptr_t mapping, int64_t offset, int64_t bytes) {
    errno = EINVAL;
    if (offset < 0 || offset % kViewAlignment != 0 || bytes < 1) return nullptr;
    if (Refused(Fault::View)) return nullptr;
    const std::lock_guard lock(mutex);
    const auto* found =
        FindLink(mappings, [&](const Mapping& candidate) { return candidate.handle == mapping; })->get();
    if (found == nullptr || offset > found->bytes || bytes > found->bytes - offset) return nullptr;
    // Somebody else may have cut the file meanwhile.
    struct stat description {};
    if (!Describe(found->descriptor.Get(), description)) return nullptr;
    errno = EINVAL;
    if (bytes > description.st_size - offset) return nullptr;
    std::unique_ptr<View> view = TakeNode(FindLink(idleViews, [&](const View& idle) {
        return idle.mapping == mapping && idle.offset == offset && idle.bytes == bytes;
    }));
    if (view == nullptr) view = OpenView(*found, offset, bytes, description);
    if (view == nullptr) return nullptr;
    void* base = view->base;
    PushFront(views, std::move(view));
    return base;
}

bool UnmapView(void* base, int64_t /*bytes*/) {
    const std::lock_guard lock(mutex);
    auto view = TakeNode(FindLink(views, [&](const View& candidate) { return candidate.base == base; }));
    if (view == nullptr) return Fail(EINVAL);
    const bool mappingLives = *FindLink(mappings, [&](const Mapping& candidate) {
        return candidate.handle == view->mapping;
    }) != nullptr;
    if (mappingLives) KeepIdle(std::move(view));
    return true;
}

}  // namespace trv
