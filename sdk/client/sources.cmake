add_sdk_library(uaclientcpp FOLDER client
  SOURCES
    discovery.cpp
    session.cpp
    security_info.cpp
  PUBLIC uabasecpp
  PRIVATE Threads::Threads)
