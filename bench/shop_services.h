#pragma once

#include "state.h"

#include <memory>
#include <string>

struct shop_releaser {
    void operator()(driver_state* prepared) const;
};

/// The articles and the layout of a shop written by `write_shop`, and every service's blocks.
using prepared_shop = std::unique_ptr<driver_state, shop_releaser>;

/// Prepares the services as the daemon does, up to the releaser: a daemon never ends.
[[nodiscard]] prepared_shop prepare_shop(const std::string& folder);

/// The same with every picture decoded, drawn and encoded for itself, and converted by the plain form.
[[nodiscard]] prepared_shop prepare_shop_plainly(const std::string& folder);
