// Milliseconds of the monotonic clock: the control's timers and the simulator share it.
#pragma once

#include <chrono>

#include "ui/Control.h"

namespace kestrova::qt {

class SteadyClock : public ui::Clock {
  public:
    int64_t NowMs() const override {
        using namespace std::chrono;
        return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    }
};

}  // namespace kestrova::qt
