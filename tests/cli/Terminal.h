#pragma once

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace clitest {

/// A terminal without a screen: what is written to it can be read back.
class Terminal {
public:
    Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        grantpt(master_);
        unlockpt(master_);
        // So long as one is open, what was written stays to be read.
        slave_ = open(name(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    }
    ~Terminal()
    {
        close(slave_);
        close(master_);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    [[nodiscard]] const char* name() const { return ptsname(master_); }

    [[nodiscard]] std::string written() const
    {
        std::array<char, 65536> bytes{};
        fcntl(master_, F_SETFL, O_NONBLOCK);
        std::string text;
        for (ssize_t size = 0; (size = read(master_, bytes.data(), bytes.size())) > 0;)
            text.append(bytes.data(), static_cast<std::size_t>(size));
        return text;
    }

private:
    int master_;
    int slave_ = -1;
};

}  // namespace clitest
