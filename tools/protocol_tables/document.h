// Documents with tables of the messages.
#pragma once

#include <istream>
#include <ostream>

namespace protocol_tables {

// Copies a document, with new lines between "<!-- table NAME -->" and "<!-- end of table -->".
// Throws std::runtime_error for a name that there is not, a table without its end, and a record
// that has no table.
void write_document(std::istream& in, std::ostream& out);

}  // namespace protocol_tables
