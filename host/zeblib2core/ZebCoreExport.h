#pragma once

// Symbols of the host core stand-in that callers may use. The libraries are
// built with hidden visibility, so everything a caller touches is marked.
#define ZEBCORE_API __attribute__((visibility("default")))
