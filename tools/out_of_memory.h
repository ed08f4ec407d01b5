// An orderly end when memory runs out, in the tool or in the library: what was finished has been written, and one
// message says where it ended.
#pragma once

#include <cstddef>
#include <string>

#include "commands.h"

namespace tool {

// From here on there is such an end, at first with the least that can be said.
void prepareForLackOfMemory();

// Keeps some memory for all that is to be said about one of the inputs.
void keepMemoryFor(const Arguments& arguments);

// What is said then is about this input; `status` is the exit status. Nothing is copied, so that no memory is needed to
// get from one input to the next.
void setInputAtHand(const std::string& name, std::size_t inputsAfter, Format format, int status);

// The JSON object of the input at hand is not written yet. Its first `size` bytes can be followed by "]" and further
// fields.
void setUnfinishedObject(const std::string& bytes, std::size_t size);

// It is written, and so no object for the input is needed.
void setObjectWritten();

}  // namespace tool
