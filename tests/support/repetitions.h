#pragma once

namespace testsupport {

/// How often a test that repeats itself shall do so: `full` times the factor in the environment variable
/// TEST_SCALE (1 when unset), at least once.
[[nodiscard]] int repetitions(int full);

}  // namespace testsupport
