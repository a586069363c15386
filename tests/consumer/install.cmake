# Installs the build in BUILD, or only its component COMPONENT, and moves the result to PREFIX, so that whatever
# uses it there shows that the installed tree can be moved.
file(REMOVE_RECURSE "${PREFIX}" "${PREFIX}-before")
set(component "")
if(COMPONENT)
  set(component --component ${COMPONENT})
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${PREFIX}-before" ${component}
                        COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
file(RENAME "${PREFIX}-before" "${PREFIX}")
