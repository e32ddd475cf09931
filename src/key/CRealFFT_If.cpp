#include "key/CRealFFT_If.h"

#include "key/CRealFFTavtx.h"
#include "key/CRealFFTpffft.h"

eboKey::Status CRealFFT_If::create(std::unique_ptr<CRealFFT_If>& instance, int blockLength, int zeroPadFactor,
                                   int windowType)
{
#ifdef TUNESIFT_HAS_PFFFT
    if (CRealFFTBase::lengthFor(blockLength, zeroPadFactor, windowType) >= CRealFFTpffft::kShortest)
        return CRealFFTpffft::create(instance, blockLength, zeroPadFactor, windowType);
#endif
    return CRealFFTavtx::create(instance, blockLength, zeroPadFactor, windowType);
}
