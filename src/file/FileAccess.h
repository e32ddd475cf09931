#pragma once

#include "file/LinkPolicy.h"

/// How a local file is reached, each time it is opened.
struct FileAccess {
    LinkPolicy links = LinkPolicy::kFollow;

    /// Nothing is read ahead: each read sees what others have written up to then. For a file that is read in
    /// blocks while others change it.
    bool unbuffered = false;
};
