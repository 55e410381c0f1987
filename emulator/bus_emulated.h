#pragma once

#include "epld_model.h"

/// Puts a model of the device behind the requests of bus.h, as the descriptor that it returns, until
/// the next call. Opening the bus gives the same descriptor. Pauses let the device's time pass.
int attach(epld_model& device);
