#pragma once
// The one-second clock of a job: start time and elapsed time, with the
// paused spans taken out and the display held while a dialog is open.

#include <cstdint>
#include <string>

namespace tolmi {

inline constexpr int kJobTimerId = 1;

// Starts the clock of a job (the timer itself belongs to the front end).
void startJobClock();
// One tick of the timer. True when the labels changed (startText and
// elapsedText of the session hold the new texts).
bool onTimerTick(int id);

// " %H:%M:%S" of a span of seconds; hours wrap at a day, as a time of day.
std::string FormatSpan(int64_t seconds);

}  // namespace tolmi
