// An orderly exit when memory runs out, in the tool or in the library: finished output is written, and one message says
// where decoding ended.
#pragma once

#include <cstddef>
#include <string>

#include "commands.h"

namespace tool {

// Arranges for such an exit, at first with a minimal message and this exit status.
void installOutOfMemoryHandler(int status);

// Reserves enough memory for the whole message about any of the inputs.
void reserveMemoryFor(const Arguments& arguments);

// Sets the input that the message is about, and the exit status. Nothing is copied, so that no memory is needed to get
// from one input to the next.
void setCurrentInput(const std::string& name, std::size_t remainingInputs, Format format, int status);

// The current input's JSON object has not been written yet. Its first `size` bytes can be followed by "]" and further
// fields.
void setUnfinishedObject(const std::string& bytes, std::size_t size);

// The object has been written, so no other is needed for this input.
void setObjectWritten();

}  // namespace tool
