#include "analysis/FirstOrderEnvelope.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using eboEnvelopes::FirstOrderEnvelope;

TEST(FirstOrderEnvelope, WithoutAttackTimeARiseIsTakenAtOnce)
{
    FirstOrderEnvelope envelope(105.0f, 0.0f, 100.0f);
    EXPECT_EQ(envelope.process(0.5f), 0.5f);
    EXPECT_EQ(envelope.process(0.75f), 0.75f);
}

TEST(FirstOrderEnvelope, AFallOfOneTimeConstantLeavesTheEthPart)
{
    // 50 ms at 1000 updates per second are 50 steps.
    FirstOrderEnvelope envelope(1000.0f, 0.0f, 50.0f);
    envelope.process(1.0f);
    for (int i = 0; i < 50; ++i)
        envelope.process(0.0f);
    EXPECT_NEAR(envelope.state(), std::exp(-1.0), 1e-5);
}

TEST(FirstOrderEnvelope, RiseAndFallHaveTheirOwnSpeed)
{
    FirstOrderEnvelope envelope(1000.0f, 10.0f, 1000.0f);
    for (int i = 0; i < 10; ++i)
        envelope.process(1.0f);
    EXPECT_NEAR(envelope.state(), 1.0 - std::exp(-1.0), 1e-5);
    const float top = envelope.state();
    for (int i = 0; i < 10; ++i)
        envelope.process(0.0f);
    EXPECT_NEAR(envelope.state(), top * std::exp(-0.01), 1e-5);
}

TEST(FirstOrderEnvelope, WorksThroughItsInterface)
{
    FirstOrderEnvelope envelope(1000.0f, 0.0f, 0.0f);
    eboEnvelopes::EnvelopeInterface& interface = envelope;
    EXPECT_EQ(interface.process(0.25f), 0.25f);
    EXPECT_EQ(interface.process(0.125f), 0.125f);
}

}  // namespace
