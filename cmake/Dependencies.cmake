find_package(Threads REQUIRED)
find_package(OpenSSL 3 REQUIRED)
find_package(spdlog REQUIRED)
find_path(SIMPLEINI_INCLUDE_DIR SimpleIni.h REQUIRED)

# pkg-config's line for this package does not link, and its CMake package wants the tools package too.
find_library(OPEN62541_LIBRARY open62541 REQUIRED)
find_path(OPEN62541_INCLUDE_DIR open62541/config.h REQUIRED)
file(STRINGS "${OPEN62541_INCLUDE_DIR}/open62541/config.h" open62541_version_lines
  REGEX "^#define UA_OPEN62541_VER_(MAJOR|MINOR|PATCH) [0-9]+")
string(REGEX REPLACE ".*MAJOR ([0-9]+).*MINOR ([0-9]+).*PATCH ([0-9]+).*" "\\1.\\2.\\3"
  OPEN62541_VERSION "${open62541_version_lines}")
if(OPEN62541_VERSION VERSION_LESS 1.4.11 OR OPEN62541_VERSION VERSION_GREATER_EQUAL 1.5)
  message(FATAL_ERROR "open62541 ${OPEN62541_VERSION} found; 1.4.11 or a later 1.4.x is needed")
endif()
add_library(open62541 INTERFACE)
target_include_directories(open62541 SYSTEM INTERFACE "${OPEN62541_INCLUDE_DIR}")
target_link_libraries(open62541 INTERFACE "${OPEN62541_LIBRARY}")
