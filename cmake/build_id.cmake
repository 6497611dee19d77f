# A plug-in and a host understand each other only when they were compiled from the same declarations
# by the same compiler with the same flags: the build id tells whether they were.
file(GLOB REVWARDEN_EDGE_HEADERS CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/base/*.h
  ${PROJECT_SOURCE_DIR}/platform/*.h
  ${PROJECT_SOURCE_DIR}/agent/kqrw_agent.h
  ${PROJECT_SOURCE_DIR}/catalogue/kqrw_agent_delegate.h
  ${PROJECT_SOURCE_DIR}/catalogue/live_record.h
  ${PROJECT_SOURCE_DIR}/agent/plugin.h)
set(edge "${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION} ${CMAKE_BUILD_TYPE}"
         " ${CMAKE_CXX_FLAGS} ${REVWARDEN_SANITIZE}")
foreach(header IN LISTS REVWARDEN_EDGE_HEADERS)
  file(SHA256 ${header} hash)
  string(APPEND edge " ${hash}")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
endforeach()
string(SHA256 edge "${edge}")
string(SUBSTRING ${edge} 0 16 REVWARDEN_BUILD_ID)
# Only the factory and its caller need it.
set_property(GLOBAL PROPERTY REVWARDEN_BUILD_ID "${REVWARDEN_VERSION}-${REVWARDEN_BUILD_ID}")
