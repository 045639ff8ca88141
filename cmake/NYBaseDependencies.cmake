# Third-party libraries, all from Debian packages (scripts/deps installs them).
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(fmt REQUIRED)
find_package(LibXml2 REQUIRED)
find_package(RapidJSON REQUIRED)
pkg_check_modules(KISSFFT REQUIRED IMPORTED_TARGET kissfft-float)
pkg_check_modules(XXHASH REQUIRED IMPORTED_TARGET libxxhash)

if(NOT TARGET RapidJSON::RapidJSON)
  add_library(RapidJSON::RapidJSON INTERFACE IMPORTED)
  set_target_properties(RapidJSON::RapidJSON PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "${RAPIDJSON_INCLUDE_DIRS}")
endif()

if(NYBASE_BUILD_TESTS OR NYBASE_BUILD_BENCH)
  # Independent decoders used as oracles by tests and as peers by benchmarks; never linked into the library.
  pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)
endif()
