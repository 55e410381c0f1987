#pragma once

#include "device_slots.h"

// The judge stands beside the device and notes what the daemon does wrong towards it. The device itself
// only does what it is told.

/// Notes something that the daemon did wrong, at the device's present time.
void report_violation(epld_model& device, violation_kind kind, std::uint32_t where);

/// A transfer that the register does not know, or a register that the device does not have.
void judge_unknown_transfer(epld_model& device, std::uint8_t register_number, bool register_known);

/// Before a write to the control register.
void judge_control(epld_model& device, std::uint8_t value);

/// When insertion has been switched on: all that is in packet memory.
void judge_insertion(epld_model& device);

/// Before so many bytes are read or written where the data port stands.
void judge_read(epld_model& device, std::size_t count);
void judge_write(epld_model& device, std::size_t count);

/// After a write to addresses from `begin` to `end`, into a header table of `slots` slots: it may have
/// loaded a stream slot.
void judge_written(epld_model& device, std::uint32_t slots, std::uint32_t begin, std::uint32_t end);
