#include "analysis/exactSamplePosition.h"

#include <gtest/gtest.h>

#include <boost/numeric/conversion/cast.hpp>

#include <cmath>
#include <limits>

namespace {

TEST(ExactSamplePosition, ARoundingErrorAwayFromAWholeNumberIsThatNumber)
{
    EXPECT_EQ(exactSamplePosition(1.0), 1.0);
    EXPECT_EQ(exactSamplePosition(std::nextafter(44100.0, 0.0)), 44100.0);
    EXPECT_EQ(exactSamplePosition(std::nextafter(44100.0, 1e9)), 44100.0);
}

TEST(ExactSamplePosition, APlaceBetweenTwoSamplesStays)
{
    EXPECT_EQ(exactSamplePosition(44100.25), 44100.25);
    EXPECT_EQ(exactSamplePosition(0.75), 0.75);
}

TEST(ExactSamplePosition, NegativePositionsStayAsTheyAre)
{
    EXPECT_EQ(exactSamplePosition(-1.0), -1.0);
    EXPECT_EQ(exactSamplePosition(-2.5), -2.5);
}

TEST(ExactSamplePosition, WhatIsNoNumberOrDoesNotFitIsRefused)
{
    using Limits = std::numeric_limits<double>;
    const double end = std::ldexp(1.0, 63);
    EXPECT_THROW(static_cast<void>(exactSamplePosition(end)), boost::numeric::positive_overflow);
    EXPECT_THROW(static_cast<void>(exactSamplePosition(-end)), boost::numeric::negative_overflow);
    EXPECT_EQ(exactSamplePosition(std::nextafter(end, 0.0)), std::nextafter(end, 0.0));
    for (const double bad : {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity()}) {
        bool refused = false;
        try {
            static_cast<void>(exactSamplePosition(bad));
        } catch (const boost::numeric::negative_overflow&) {
            FAIL() << "taken for a negative overflow";
        } catch (const boost::numeric::positive_overflow&) {
            FAIL() << "taken for a positive overflow";
        } catch (const boost::numeric::bad_numeric_cast&) {
            refused = true;
        }
        EXPECT_TRUE(refused) << bad;
    }
}

}  // namespace
