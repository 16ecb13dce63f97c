// The tool's commands. Each adds itself to the command line; the one that the user chose leaves its action.
#ifndef QUORV_TOOLS_QUORV_COMMANDS_H
#define QUORV_TOOLS_QUORV_COMMANDS_H

#include "CommandLine.h"

namespace quorv::tool {

void add_info_command(Session &session);
void add_frames_command(Session &session);
void add_extract_command(Session &session);
void add_headers_command(Session &session);
void add_decode_command(Session &session);
void add_repair_command(Session &session);
void add_report_command(Session &session);
void add_check_command(Session &session);

}  // namespace quorv::tool

#endif
