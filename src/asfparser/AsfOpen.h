// Opens a file: its readers, its header and its index.
#ifndef QUORV_SRC_ASFPARSER_ASFOPEN_H
#define QUORV_SRC_ASFPARSER_ASFOPEN_H

#include "asfparser/AsfContext.h"

namespace quorv {

// Both tracks are rewound, and a file that is open already is only that. A failure leaves nothing open, and
// the header when it was read whole.
Code asf_open(AsfContext *context);

// Reads the header and looks for the index, before the file is opened or later. That there is no index, or
// that it cannot be read, is no failure.
Code asf_find_index(AsfContext *context, SplitterHttpParam *param);

// Of a file whose header is known, with an open reader. Ok when it has been loaded before.
Code asf_load_index(AsfContext *context);

}  // namespace quorv

#endif
