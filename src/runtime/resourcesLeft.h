#pragma once

namespace ebo {

// For libraries that end the process, or wait for ever, when the system gives them nothing. A race with other
// threads can only be made unlikely, by asking for some more.

/// Whether this process can open so many more descriptors at this moment.
[[nodiscard]] bool descriptorsAreLeft(int count);

/// Whether this process can have so many more threads at this moment, with stacks of the usual size.
[[nodiscard]] bool threadsAreLeft(int count);

}  // namespace ebo
