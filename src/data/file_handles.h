#pragma once

#include "releaser.h"

#include <cstdio>
#include <cstdlib>
#include <expat.h>
#include <memory>

using owned_file = std::unique_ptr<std::FILE, releaser<std::fclose>>;
using owned_bytes = std::unique_ptr<char, releaser<std::free>>;
using owned_xml_parser = std::unique_ptr<XML_ParserStruct, releaser<XML_ParserFree>>;
