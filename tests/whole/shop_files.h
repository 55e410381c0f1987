#pragma once

#include "emulated_run.h"

/// Folders that stand in for the resources directory of the board.

/// The sample shop.
void copy_sample_shop(const temporary_folder& folder);

/// The pictures and the layout of the sample shop, with articles made up. Article i has the code
/// "A<i>" and the channel 101 + i; what they show, and with it the size of their subtitles, differs.
void write_shop(const temporary_folder& folder, int articles);

/// A run of the daemon in such a folder, in multi-service operation, on the host of these articles.
/// `options` are the emulator's.
run_request shop_run(const temporary_folder& folder, const std::vector<std::string>& options);
