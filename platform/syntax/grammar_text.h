// A command's grammar in words, from its descriptor: what a subcommand
// takes, for hints to someone who left it empty. Read from the descriptor
// the procedure declares, so that the words never fall behind the grammar.
#pragma once

#include <string>

#include "host/syntax/command_descriptor.h"

namespace codebook::syntax {

// "NAME, LOCATION, CASECOUNT" for plain keywords; a parameter with a value
// as "MAXCATS=n", "SORT={ASCENDING|DESCENDING}",
// "VARORDER={FILE|ALPHA|ATTRIBUTE(name)}" or "KEY='text'"; exported tokens
// (a variable list) as "names".
std::string SubcommandUsage(const SubComDescriptor& subcommand);

}  // namespace codebook::syntax
