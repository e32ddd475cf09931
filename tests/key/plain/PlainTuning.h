#pragma once

#include <array>

namespace plain {

/// What the tuning is moved by, in double precision: 72 resonators at 8192 Hz, heard in hops of 256 samples.
/// It is told the tuning after each hop.
class PlainTuning {
public:
    explicit PlainTuning(double tuningFrequency) { design(tuningFrequency); }

    /// Listens to a hop. @return how much louder the upper neighbours ring than the lower ones, as a share of
    ///                           all; 0 in silence
    double listen(const float* hop);

    /// Moves the resonators to another tuning. What rings in them rings on.
    void design(double tuningFrequency);

private:
    struct Filter {
        double a1 = 0;
        double a2 = 0;
        double gain = 0;
        double y1 = 0;
        double y2 = 0;
        double envelope = 0;
    };

    std::array<Filter, 72> filters_;
};

}  // namespace plain
