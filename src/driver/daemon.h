#pragma once

/// The whole daemon: start-up, the subtitle services, then the device, until something fails.
/// Returns the exit status: 0 when the output is on Ethernet and there is nothing to do, -22 after
/// any failure. The device is closed on every way out.
[[nodiscard]] int run_daemon();
