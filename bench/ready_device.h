#pragma once

// The C library's `ioctl` for a daemon that is measured without a kernel: every request succeeds and no
// slot is ever busy.

/// Requests made so far.
unsigned long device_requests();
