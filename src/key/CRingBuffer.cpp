#include "key/CRingBuffer.h"

#include <algorithm>

namespace eboKey {

int CRingBuffer::append(const float* samples, int count)
{
    const int n = std::min(count, writable());
    const int beforeEnd = std::min(n, kCapacity - writeIndex_);
    std::copy_n(samples, beforeEnd, storage_.begin() + writeIndex_);
    std::copy_n(samples + beforeEnd, n - beforeEnd, storage_.begin());
    writeIndex_ = (writeIndex_ + n) & kMask;
    return n;
}

void CRingBuffer::take(float* target, int count)
{
    const int beforeEnd = std::min(count, kCapacity - readIndex_);
    std::copy_n(storage_.begin() + readIndex_, beforeEnd, target);
    std::copy_n(storage_.begin(), count - beforeEnd, target + beforeEnd);
    readIndex_ = (readIndex_ + count) & kMask;
}

}  // namespace eboKey
