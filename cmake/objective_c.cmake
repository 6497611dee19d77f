# Objective-C with Foundation and AppKit: the system's on a Mac, elsewhere GNUstep's when it is
# installed. Sets REVWARDEN_OBJC, and then brings the target revwarden_cocoa: to be linked by every
# target with Objective-C sources.
if(APPLE)
  set(REVWARDEN_OBJC ON)
else()
  find_program(GNUSTEP_CONFIG gnustep-config)
  # Sanitizers report inside GNUstep, whatever is built on it.
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

if(NOT APPLE)  # GNUstep here runs on the runtime of GCC
  find_program(CMAKE_OBJC_COMPILER gcc)
  find_program(CMAKE_OBJCXX_COMPILER g++)
endif()
enable_language(OBJC OBJCXX)
add_library(revwarden_cocoa INTERFACE)
# CMake does not set the language level with every compiler; and a method cannot leave out the name of
# a parameter.
target_compile_options(revwarden_cocoa INTERFACE
  $<$<COMPILE_LANGUAGE:OBJC>:-std=gnu11>
  $<$<COMPILE_LANGUAGE:OBJCXX>:-std=c++20>
  $<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:-Wno-unused-parameter>)
if(APPLE)
  # Ownership is counted by hand, which both tool chains understand.
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
    message(FATAL_ERROR "${GNUSTEP_CONFIG} says nothing; it needs make")
  endif()
  separate_arguments(objc_flags UNIX_COMMAND "${objc_flags}")
  separate_arguments(objc_libraries UNIX_COMMAND "${objc_libraries}")
  list(FILTER objc_flags EXCLUDE REGEX "^-(g|O.*|MMD|MP|I.*|W.*)$")
  list(FILTER objc_libraries INCLUDE REGEX "^-l|^-pthread$|^-rdynamic$")
  # The blocks inside GNUstep's classes are types without linkage.
  target_compile_options(revwarden_cocoa INTERFACE
    $<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:${objc_flags}>
    $<$<COMPILE_LANGUAGE:OBJCXX>:-Wno-subobject-linkage>)
  execute_process(COMMAND ${GNUSTEP_CONFIG} --variable=GNUSTEP_SYSTEM_HEADERS
    OUTPUT_VARIABLE objc_headers OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  target_include_directories(revwarden_cocoa SYSTEM INTERFACE ${objc_headers})
  target_link_libraries(revwarden_cocoa INTERFACE ${objc_libraries})
endif()
