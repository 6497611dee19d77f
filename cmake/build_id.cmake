# Computes the build id. C++ objects cross the plug-in's interface, so host and plug-in must be
# compiled from the same headers by the same compiler with the same flags. The id is a hash of these.
file(GLOB interface_headers CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/base/*.h
  ${PROJECT_SOURCE_DIR}/platform/*.h
  ${PROJECT_SOURCE_DIR}/agent/kqrw_agent.h
  ${PROJECT_SOURCE_DIR}/catalogue/kqrw_agent_delegate.h
  ${PROJECT_SOURCE_DIR}/catalogue/live_record.h
  ${PROJECT_SOURCE_DIR}/agent/plugin.h)
set(interface "${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION} ${CMAKE_BUILD_TYPE}"
         " ${CMAKE_CXX_FLAGS} ${REVWARDEN_SANITIZE}")
foreach(header IN LISTS interface_headers)
  file(SHA256 ${header} hash)
  string(APPEND interface " ${hash}")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
endforeach()
string(SHA256 interface "${interface}")
string(SUBSTRING ${interface} 0 16 REVWARDEN_BUILD_ID)
# A property, so that only the sources that need the id are rebuilt when it changes.
set_property(GLOBAL PROPERTY REVWARDEN_BUILD_ID "${REVWARDEN_VERSION}-${REVWARDEN_BUILD_ID}")
