# Installs the library of the build folder BUILD into the folder PACKAGE, which holds nothing else then.
file(REMOVE_RECURSE ${PACKAGE})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --component Library --prefix ${PACKAGE}
    COMMAND_ERROR_IS_FATAL ANY)
