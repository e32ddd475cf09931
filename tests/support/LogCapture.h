#pragma once

#include <QtGlobal>

#include <mutex>
#include <string>
#include <vector>

namespace testsupport {

/// Collects what is logged through Qt for as long as it lives, from every thread. One at a time.
class LogCapture {
public:
    struct Entry {
        QtMsgType type;
        std::string category;
        std::string text;
    };

    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    [[nodiscard]] std::vector<Entry> entries() const;

    /// The texts alone, in order.
    [[nodiscard]] std::vector<std::string> texts() const;

    /// Whether some text has this part.
    [[nodiscard]] bool contains(const std::string& part) const;

private:
    static void handler(QtMsgType type, const QMessageLogContext& context, const QString& text);

    mutable std::mutex mutex_;
    std::vector<Entry> entries_;
    QtMessageHandler previous_;
};

}  // namespace testsupport
