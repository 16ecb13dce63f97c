// OpenDML indexes: the "indx" chunk of a stream list and the index chunks that it points to.
#ifndef QUORV_SRC_AVIPARSER_AVIOPENDML_H
#define QUORV_SRC_AVIPARSER_AVIOPENDML_H

#include "aviparser/AviContext.h"

namespace quorv {

// Reads the OpenDML index of every track that has one, up to the first index chunk that is missing or
// damaged: from there on the legacy index serves the track. When every track has its whole index, the
// context's index counts as complete. Only Code::NoMemory is an error.
Code avi_read_opendml_indexes(AviContext *context);

}  // namespace quorv

#endif
