#pragma once
#include <QMetaType>
#include <cstdint>
#include <vector>
class eboSparseBitArray {
public:
    struct Range {
        std::uint64_t first, last;
        bool operator==(const Range&) const = default;
    };
    void set(Range r) { r_.push_back(r); }
    std::vector<Range> ranges() const { return r_; }

private:
    std::vector<Range> r_;
};
Q_DECLARE_METATYPE(eboSparseBitArray)
