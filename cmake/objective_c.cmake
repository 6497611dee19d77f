# Finds Objective-C with Foundation and AppKit: the system's on a Mac, elsewhere GNUstep's if it is
# installed. Sets REVWARDEN_OBJC to whether there is one. If so, defines the target revwarden_cocoa,
# which every target with Objective-C sources links.
if(APPLE)
  set(REVWARDEN_OBJC ON)
else()
  find_program(GNUSTEP_CONFIG gnustep-config)
  # Under sanitizers GNUstep itself reports errors, so they exclude each other.
  if(GNUSTEP_CONFIG AND NOT REVWARDEN_SANITIZE)
    set(REVWARDEN_OBJC ON)
  else()
    set(REVWARDEN_OBJC OFF)
    message(STATUS "No Objective-C bundle: GNUstep is not installed, or sanitizers are on")
  endif()
endif()
if(NOT REVWARDEN_OBJC)
  return()
endif()

if(NOT APPLE)  # Debian builds GNUstep for the Objective-C runtime of GCC
  find_program(CMAKE_OBJC_COMPILER gcc)
  find_program(CMAKE_OBJCXX_COMPILER g++)
endif()
enable_language(OBJC OBJCXX)
add_library(revwarden_cocoa INTERFACE)
# CMake does not set the language level for every compiler. Unused parameters are allowed because a
# method has to name all of them.
target_compile_options(revwarden_cocoa INTERFACE
  $<$<COMPILE_LANGUAGE:OBJC>:-std=gnu11>
  $<$<COMPILE_LANGUAGE:OBJCXX>:-std=c++20>
  $<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:-Wno-unused-parameter>)
if(APPLE)
  # Manual reference counting: GCC has no ARC.
  target_compile_options(revwarden_cocoa INTERFACE
    $<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:-fno-objc-arc>)
  target_link_libraries(revwarden_cocoa INTERFACE
    "-framework Foundation" "-framework AppKit" "-framework CFNetwork")
else()
  execute_process(COMMAND ${GNUSTEP_CONFIG} --objc-flags OUTPUT_VARIABLE objc_flags
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND ${GNUSTEP_CONFIG} --gui-libs OUTPUT_VARIABLE objc_libraries
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  if(objc_flags STREQUAL "" OR objc_libraries STREQUAL "")
    message(FATAL_ERROR "${GNUSTEP_CONFIG} prints no flags; install make, which it needs")
  endif()
  separate_arguments(objc_flags UNIX_COMMAND "${objc_flags}")
  separate_arguments(objc_libraries UNIX_COMMAND "${objc_libraries}")
  list(FILTER objc_flags EXCLUDE REGEX "^-(g|O.*|MMD|MP|I.*|W.*)$")
  list(FILTER objc_libraries INCLUDE REGEX "^-l|^-pthread$|^-rdynamic$")
  # GNUstep's headers use types without linkage (blocks) in classes.
  target_compile_options(revwarden_cocoa INTERFACE
    $<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:${objc_flags}>
    $<$<COMPILE_LANGUAGE:OBJCXX>:-Wno-subobject-linkage>)
  execute_process(COMMAND ${GNUSTEP_CONFIG} --variable=GNUSTEP_SYSTEM_HEADERS
    OUTPUT_VARIABLE objc_headers OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  target_include_directories(revwarden_cocoa SYSTEM INTERFACE ${objc_headers})
  target_link_libraries(revwarden_cocoa INTERFACE ${objc_libraries})
endif()
