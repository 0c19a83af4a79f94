// Both standard streams of one call.
#pragma once

#include "support/output_capture.h"

namespace filestest {

template <typename Call>
robotest::CapturedOutput captured(Call call) {
    robotest::OutputCapture capture;
    call();
    return capture.finish();
}

}  // namespace filestest
