#pragma once

#include "item.h"
#include "layout.h"

/// What the daemon never does: frees a whole list and all that it owns.
void free_all(item* head);
void free_all(layout_region* head);
