#pragma once

namespace testsupport {

/// Whether this program, and the others of its build, run under sanitizers. These need more memory than any
/// limit leaves, and a descriptor each time they look at the type of an object.
#ifdef __SANITIZE_ADDRESS__
inline constexpr bool kIsSanitized = true;
#else
inline constexpr bool kIsSanitized = false;
#endif

}  // namespace testsupport
