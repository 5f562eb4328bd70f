add_sdk_library(uabasecpp FOLDER base
  SOURCES
    arrays.cpp
    byte_string.cpp
    date_time.cpp
    directory.cpp
    node_id.cpp
    platform_layer.cpp
    qualified_name.cpp
    settings.cpp
    string.cpp
    trace.cpp
    variant.cpp
  PUBLIC uastack
  PRIVATE spdlog::spdlog Threads::Threads)
target_include_directories(uabasecpp SYSTEM PRIVATE "${SIMPLEINI_INCLUDE_DIR}")
