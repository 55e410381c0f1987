#pragma once

#include "preview_options.h"

/// Serves the page of the options to browsers until SIGINT or SIGTERM: draws it anew when a file has changed.
/// Each drawing is a process of its own, since fonts keep a state and a crash must not end the page. Returns
/// the exit status.
int serve_page(const preview_options& options);
