add_sdk_library(uabasecpp FOLDER base
  SOURCES
    arrays.cpp
    byte_array.cpp
    byte_string.cpp
    date_time.cpp
    directory.cpp
    directory_lock.cpp
    held_bytes.cpp
    nearest_integer.cpp
    node_id.cpp
    notifications.cpp
    platform_layer.cpp
    qualified_name.cpp
    scalar_conversion.cpp
    settings.cpp
    string.cpp
    symbolic_links.cpp
    text_buffer.cpp
    trace.cpp
    trace_file.cpp
    trace_text.cpp
    unicode.cpp
    variant.cpp
    variant_arrays.cpp
  PUBLIC uastack
  PRIVATE spdlog::spdlog Threads::Threads)
target_include_directories(uabasecpp SYSTEM PRIVATE "${SIMPLEINI_INCLUDE_DIR}")
