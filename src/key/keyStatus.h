#pragma once

#include <cstdint>

/// What the operations of the key detection report.
namespace eboKey {

using Status = std::int32_t;

inline constexpr Status kOk = 0;
inline constexpr Status kOutOfMemory = 1000001;
inline constexpr Status kNotInitialised = 5000002;
inline constexpr Status kInvalidArgument = 5000003;
inline constexpr Status kSampleRateTooLow = 5000004;

}  // namespace eboKey
