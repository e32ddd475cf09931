#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <optional>
#include <vector>

namespace tunesift::cli {

/// A JSON object that is written member by member and stays on one line. Whole numbers keep all of their 64
/// bits and others every digit, which Qt's own objects do not promise; null stands for what does not exist.
class JsonLine {
public:
    void add(const char* name, const QString& value);
    void add(const char* name, double value);
    void add(const char* name, qint64 value);
    void add(const char* name, int value) { add(name, qint64{value}); }
    void addTruth(const char* name, bool value);
    void addNull(const char* name);
    void add(const char* name, const JsonLine& object);
    void add(const char* name, const std::vector<JsonLine>& objects);

    template <typename T>
    void add(const char* name, const std::optional<T>& value)
    {
        if (value)
            add(name, *value);
        else
            addNull(name);
    }

    /// Without a line end.
    [[nodiscard]] QByteArray object() const { return '{' + members_ + '}'; }

private:
    void begin(const char* name);

    QByteArray members_;
};

}  // namespace tunesift::cli
