#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <functional>
#include <string>

/// What the system knows about a process.

/// The children, those included that have ended and that nobody has waited for.
std::size_t childrenOf(pid_t process);

/// Whether it comes to rest: nothing of it runs for two seconds.
testing::AssertionResult comesToRest(pid_t process);

/// A figure of /proc/PID/status in its unit, such as VmRSS in KiB.
unsigned long long figureOf(pid_t process, const std::string& name);

/// The processor's time that it has taken, in ticks of the system's clock.
unsigned long long processorTicksOf(pid_t process);

/// Whether it is built with a sanitizer that needs memory and threads of its own.
bool isSanitized(pid_t process);

/// Asks until the answer is true; false when that does not happen.
bool eventually(const std::function<bool()>& condition);
