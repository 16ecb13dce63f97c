// What is put right when the user ends the tool early: an unfinished file goes, and so does a progress bar.
#ifndef QUORV_TOOLS_QUORV_INTERRUPT_H
#define QUORV_TOOLS_QUORV_INTERRUPT_H

#include <string>

namespace quorv::tool {

// Called once, at the start. What is ignored then, as by nohup, stays so.
void handle_interrupts();

// The file that is to go; empty for none. False when its path is too long to be kept.
bool set_unfinished_file(const std::string &path);
// Whether a line on standard error is to be cleared.
void set_bar_shown(bool shown);

}  // namespace quorv::tool

#endif
