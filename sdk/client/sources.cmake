add_sdk_library(uaclientcpp FOLDER client
  SOURCES
    subscription/callback_thread.cpp
    callbacks.cpp
    discovery.cpp
    engine_client.cpp
    engine_log.cpp
    name_resolution.cpp
    network_thread.cpp
    subscription/notification_queue.cpp
    security_info.cpp
    session.cpp
    session_security.cpp
    subscription.cpp
  PUBLIC uabasecpp uapkicpp
  PRIVATE Threads::Threads)
