#pragma once

#include "file_handles.h"
#include "item.h"

#include <memory>
#include <string>

void free_articles(item* head);

/// A list of articles that frees itself.
using owned_articles = std::unique_ptr<item, releaser<free_articles>>;

/// One line per article, in list order: every field that is not zero or null, such as
/// "code=A1;model=SX 40;channel=1;\n", texts before flags and the channel.
std::string text_of(const item* head);
