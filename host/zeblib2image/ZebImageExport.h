#pragma once

#define ZEBIMAGE_API __attribute__((visibility("default")))
