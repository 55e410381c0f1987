#pragma once

#include <functional>

// What stands around work that callgrind counts: the function that it is told to count, and the C library's
// `ioctl` for a daemon without a kernel: every request succeeds and no slot is ever busy.

extern "C" void counted_work(const std::function<void()>& work);

/// Requests made so far.
unsigned long device_requests();
