#include "expected_text.h"

namespace restest {

TEST_P(DocumentTextTest, BuildsTheExactText) { EXPECT_EQ(GetParam().build(), GetParam().expected); }

}  // namespace restest
