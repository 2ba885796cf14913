// The procedure's single exported entry: one CODEBOOK command per call.
#include <cstdint>
#include <string>

#include "cbkoutput.h"
#include "host/data/data_source.h"
#include "host/output/bp_procedure.h"
#include "host/syntax/parser_message.h"
#include "parser/cbkparser.h"

// The objects of one run are destroyed in the reverse order of their
// construction, also when an exception passes through to the host.
extern "C" __attribute__((visibility("default"))) void codebook_(std::int64_t argument) {
  // Received and kept, never read again: everything comes from the host's
  // objects.
  [[maybe_unused]] volatile std::int64_t slot = argument;

  BpProcedure procedure(std::string("Codebook"), 1);
  ProcedureDataSource dataSource;
  ParserMessage message;
  CbkParser parser(dataSource, message);
  if (!parser.Parse()) return;
  if (dataSource.FatalError()) return;
  if (dataSource.ColumnCount() == 0) return;
  CbkOutput output(&parser.GetRequest(), dataSource, procedure, message);
  output.DisplayOutput();
}
