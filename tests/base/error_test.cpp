#include "base/error.h"

#include "test_support.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

namespace tidyreel {
namespace {

TEST(TimeFailures, BecomeErrorsOfTheTimeDomainWithTheirDescription) {
    EXPECT_TRUE(test::throwsError([] { withTimeErrors([] { throw std::overflow_error("too big"); }); },
                                  "Time", TimeError::overflow, "too big"));
    EXPECT_TRUE(test::throwsError([] { withTimeErrors([] { throw std::domain_error("by zero"); }); }, "Time",
                                  TimeError::invalidValue, "by zero"));
    EXPECT_EQ(withTimeErrors([] { return 7; }), 7);
    EXPECT_THROW(withTimeErrors([] { throw std::bad_alloc(); }), std::bad_alloc);
}

TEST(AsError, KeepsOurErrorsWholeAndWrapsOthersAsUnexpected) {
    const Error tool("ffmpeg", 3, "ffmpeg failed", {{"stderr", "boom"}});
    const Error kept = asError(tool);
    EXPECT_TRUE(test::isError(kept, "ffmpeg", 3, "ffmpeg failed"));
    EXPECT_EQ(kept.userInfo().at("stderr"), "boom");
    EXPECT_TRUE(test::isError(asError(std::runtime_error("odd")), "Processing", 2, "odd"));
}

}  // namespace
}  // namespace tidyreel
