#pragma once

#include <functional>

/// Whether whoever wanted a file read has given up. Asked before each piece of the file that a decoder takes,
/// while a reader is made and later, always on the thread that uses the reader; once it says yes, nothing
/// more can be read, so that the decoder gives up, too. Empty for somebody who waits to the end.
using StopCheck = std::function<bool()>;
