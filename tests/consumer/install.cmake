# Installs the build in BUILD and moves the result to PREFIX, so that whatever uses it there shows that the
# installed tree can be moved.
file(REMOVE_RECURSE "${PREFIX}" "${PREFIX}-before")
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${PREFIX}-before"
                        COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
file(RENAME "${PREFIX}-before" "${PREFIX}")
