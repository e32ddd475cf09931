#include "key/CRealFFTpffft.h"
#include "realTransformTests.h"

namespace testsupport {
namespace {

struct Pffft : CRealFFTpffft {
    static constexpr int shortest = CRealFFTpffft::kShortest;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Pffft, RealTransform, Pffft);

TEST(CRealFFTpffft, LeavesTransformsThatAreTooShortForTheLibrary)
{
    std::unique_ptr<CRealFFT_If> fft;
    EXPECT_EQ(CRealFFTpffft::create(fft, 4, 4, CRealFFT_If::kHann), eboKey::kInvalidArgument);
    EXPECT_EQ(fft, nullptr);
}

}  // namespace
}  // namespace testsupport
