#pragma once

#include "emulated_run.h"

/// A load of one of the two stream slots, as the requests on the bus make it up: polls of the slot
/// until it is not busy; packets, each in six blocks of 31 bytes and one of 2; then either the whole
/// header at once (TDT and TOT), or the last two bytes of the header, polls of slot 1 until it is
/// acknowledged when this is slot 0, and the type. The address pointer is set before each of these.
struct slot_load {
    std::size_t slot = 0; ///< 0 or 1
    double time_s = 0;    ///< of the first request
    int busy_polls = 0;
    std::vector<byte_string> packets{};
    bool whole_header = false;
    int acknowledgement_polls = 0;
    unsigned last_size = 0; ///< bytes of the last packet that count
    unsigned type = 0;      ///< 0: not armed
};

struct load_list {
    std::vector<slot_load> loads; ///< of slots 0 and 1 in turn; the last one may have no end
    std::string complaint;        ///< about the first request that none of these makes; empty: there is none
};

/// Reads everything between the moment when insertion is on and the end of the record, the `close`,
/// or a request that the bus refused.
load_list read_loads(const std::vector<recorded_request>& requests);
