#pragma once

#include "support/NetworkNamespace.h"

#include <gtest/gtest.h>

#include <iostream>
#include <string>

namespace testsupport {

/// A test that needs network namespaces: where there can be none, without root, it is skipped and says so.
class NamespaceTest : public testing::Test {
protected:
    void SetUp() override { skipIf(NetworkNamespace::whyImpossible()); }

    /// Skips the test, and says why, if there is an obstacle. To be called from the test itself or its
    /// set-up.
    static void skipIf(const std::string& obstacle)
    {
        if (obstacle.empty())
            return;
        std::cerr << "SKIPPED, nothing was tested: " << obstacle << '\n';
        GTEST_SKIP() << obstacle;
    }
};

}  // namespace testsupport
