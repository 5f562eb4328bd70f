# Warnings and sanitizers for our own targets. The target is linked PRIVATE and never installed.
add_library(build_flags INTERFACE)
# Who only builds the library to use it is not stopped by what another compiler, or -O3, warns of.
target_compile_options(build_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow $<$<NOT:$<CONFIG:Release>>:-Werror>
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>)
# A library is replaced as a whole: what it calls in itself may be inlined.
target_compile_options(build_flags INTERFACE $<$<CONFIG:Release>:-fno-semantic-interposition>)
target_link_options(build_flags INTERFACE -Wl,--no-undefined -Wl,--as-needed)

if(OPCUACLIENT_SANITIZE)
  target_compile_options(build_flags INTERFACE -fsanitize=${OPCUACLIENT_SANITIZE} -fno-omit-frame-pointer)
  target_link_options(build_flags INTERFACE -fsanitize=${OPCUACLIENT_SANITIZE})
  if(OPCUACLIENT_BUILD_FUZZ)
    # Shows the fuzzer which way an input took.
    target_compile_options(build_flags INTERFACE -fsanitize=fuzzer-no-link)
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # clang keeps the sanitizer runtime in the executable: a shared library has unresolved runtime symbols.
    set_target_properties(build_flags PROPERTIES INTERFACE_LINK_OPTIONS
      "-fsanitize=${OPCUACLIENT_SANITIZE};-Wl,--as-needed")
  endif()
endif()
