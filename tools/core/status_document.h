// Status records as documents for programs, in the encodings that the model's
// data has on the wire (RFC 7950 for XML, RFC 7951 for JSON).
#ifndef TOOLS_CORE_STATUS_DOCUMENT_H
#define TOOLS_CORE_STATUS_DOCUMENT_H

#include <string>

#include "document_format.h"
#include "status_records.h"

namespace cfmctl {

// The records below /status/oam/cfm, local ones first. Leaves that the model
// does not know are left out. No records: a document without lists.
std::string StatusDocument(const StatusRecords& records, DocumentFormat format);

}  // namespace cfmctl

#endif
