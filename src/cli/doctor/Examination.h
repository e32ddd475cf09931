#pragma once

#include <QString>

#include <vector>

namespace tunesift::cli {

/// The findings of `tunesift doctor`, a line each.
class Examination {
public:
    /// A fact without a judgement.
    void note(const QString& name, const QString& value) { lines_.push_back({name, value, Kind::kNote}); }

    /// A fact that is as it should be, or not.
    void judge(const QString& name, const QString& value, bool isWell)
    {
        lines_.push_back({name, value, isWell ? Kind::kWell : Kind::kIll});
    }

    [[nodiscard]] bool isWell() const;

    /// All lines, with a mark before those that were judged.
    [[nodiscard]] QString text() const;

private:
    enum class Kind { kNote, kWell, kIll };
    struct Line {
        QString name;
        QString value;
        Kind kind;
    };

    std::vector<Line> lines_;
};

}  // namespace tunesift::cli
