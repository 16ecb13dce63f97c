// Reads the Header Object and the header of the Data Object.
#ifndef QUORV_SRC_ASFPARSER_ASFHEADER_H
#define QUORV_SRC_ASFPARSER_ASFHEADER_H

#include "asfparser/AsfContext.h"

namespace quorv {

// From the start of the file, with that reader. SPLITER_OK leaves a complete header; after a failure it is
// empty: SPLITER_ERR_BAD_FORMAT, SPLITER_ERR_NO_MEMORY or the code of a failed read or seek.
uint32_t asf_read_header(const CASFBase &base, StreamSource *reader, AsfHeader *header);

}  // namespace quorv

#endif
