#include "file/withoutLinks.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <string_view>
#include <utility>

namespace {

/// Closes its descriptor, without a change to errno.
class Descriptor {
public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        const int error = errno;
        if (descriptor_ >= 0)
            ::close(descriptor_);
        errno = error;
    }

    [[nodiscard]] int get() const { return descriptor_; }

private:
    int descriptor_;
};

/// The folder of the last component, and that component; a descriptor of -1 with errno if there is no way.
struct Place {
    Descriptor folder;
    std::string name;
};

Place placeOf(std::string_view path)
{
    if (path.empty() || path.front() != '/') {
        errno = EINVAL;
        return {Descriptor(-1), {}};
    }
    Place place{Descriptor(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC)), "."};
    for (std::size_t begin = 0; begin < path.size() && place.folder.get() >= 0;) {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        const std::string_view component = path.substr(begin, end - begin);
        begin = end + 1;
        if (component.empty() || component == ".")
            continue;
        if (component == "..") {
            errno = EINVAL;
            return {Descriptor(-1), {}};
        }
        if (place.name != ".")
            place.folder = Descriptor(::openat(place.folder.get(), place.name.c_str(),
                                               O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        place.name = component;
    }
    return place;
}

}  // namespace

int openWithoutLinks(const char* path, int flags, mode_t mode)
{
    const Place place = placeOf(path);
    if (place.folder.get() < 0)
        return -1;
    return ::openat(place.folder.get(), place.name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC, mode);
}

int unlinkWithoutLinks(const char* path)
{
    const Place place = placeOf(path);
    if (place.folder.get() < 0)
        return -1;
    return ::unlinkat(place.folder.get(), place.name.c_str(), 0);
}
