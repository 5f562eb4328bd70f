add_sdk_library(uaclientcpp FOLDER client
  SOURCES
    callback_thread.cpp
    callbacks.cpp
    calls/answer_decoding.cpp
    calls/empty_matrices.cpp
    calls/encoding_walk.cpp
    discovery.cpp
    engine_client.cpp
    engine_log.cpp
    name_resolution.cpp
    network_thread.cpp
    notification_queue.cpp
    security_info.cpp
    session.cpp
    session_security.cpp
    subscription.cpp
  PUBLIC uabasecpp uapkicpp
  PRIVATE Threads::Threads)
