#pragma once

#include <cstddef>
#include <functional>

/// Longer inputs would take too long below.
inline constexpr std::size_t failing_input_max_bytes = 256;

/// Calls `work` and then, when `fail` says so, once more for each request for memory that it makes: in the
/// first of these calls the first request fails, then the second, until none is left.
void with_each_request_failing(bool fail, const std::function<void()>& work);
