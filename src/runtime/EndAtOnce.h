#pragma once

namespace ebo {

/// While one of these lives, what loses its last reference on this thread ends here and now, and with it
/// everything that it alone held. For the end of a piece of work that owns files and much memory and that
/// others take for done as soon as it says so; the collector would get there when it does. Not to be made
/// with a mutex held that a destructor may want.
class EndAtOnce {
public:
    EndAtOnce() noexcept { ++depth_; }
    ~EndAtOnce() { --depth_; }
    EndAtOnce(const EndAtOnce&) = delete;
    EndAtOnce& operator=(const EndAtOnce&) = delete;

    /// Whether the calling thread has one.
    [[nodiscard]] static bool isOn() noexcept { return depth_ > 0; }

private:
    inline static thread_local int depth_ = 0;
};

}  // namespace ebo
