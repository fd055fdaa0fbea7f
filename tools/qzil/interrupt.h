#pragma once

namespace qzil::command {

/// From now on Ctrl-C, and what asks a process to end, sets a flag and ends waiting reads, instead of ending the
/// process; a write to a broken pipe fails instead of ending it.
void CatchInterrupts();
/// The flag, in the form that effects poll.
int volatile* InterruptFlag();
bool IsInterrupted();

}  // namespace qzil::command
