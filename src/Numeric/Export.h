#pragma once

// The library is built with hidden visibility; what callers may use is marked.
#define VORN_API __attribute__((visibility("default")))
