// Out-of-line destructors of the host's abstract classes: their vtables and
// type information live in this library, which the procedure module links.
#include "host/data/case_iterator.h"
#include "host/data/data_source.h"
#include "host/data/variable.h"

VELA_Variable::~VELA_Variable() = default;
VELA_InputCaseIterator::~VELA_InputCaseIterator() = default;
VELA_DataSource::~VELA_DataSource() = default;
