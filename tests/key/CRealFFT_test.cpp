#include "key/CRealFFT_If.h"
#include "key/CRealFFTavtx.h"
#include "realTransformTests.h"

namespace testsupport {
namespace {

struct Avtx : CRealFFTavtx {
    static constexpr int shortest = 4;
};

/// Whatever this build takes for the best.
struct Default : CRealFFT_If {
    static constexpr int shortest = 4;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Avtx, RealTransform, Avtx);
INSTANTIATE_TYPED_TEST_SUITE_P(Default, RealTransform, Default);

}  // namespace
}  // namespace testsupport
