// The library's version, fixed at build time.
#pragma once

#define NYBASE_VERSION_MAJOR 0
#define NYBASE_VERSION_MINOR 1
#define NYBASE_VERSION_PATCH 0
#define NYBASE_VERSION_STRING "0.1.0"
