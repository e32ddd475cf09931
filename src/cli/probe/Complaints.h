#pragma once

#include <QStringList>

namespace tunesift::probe {

/// Gathers what decoders and readers complain of for as long as it lives, from every thread. One at a time.
class Complaints {
public:
    Complaints();
    ~Complaints();
    Complaints(const Complaints&) = delete;
    Complaints& operator=(const Complaints&) = delete;

    /// Each once, the first few of them, in the order in which they came.
    [[nodiscard]] QStringList texts() const;
};

}  // namespace tunesift::probe
