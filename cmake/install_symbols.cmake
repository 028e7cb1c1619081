# Installs the symbols of qo_binary where debuggers look for them: by the number of its build.
execute_process(COMMAND ${qo_readelf} --notes ${qo_binary}
                OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
if(NOT notes MATCHES "Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)")
  message(FATAL_ERROR "${qo_binary} has no build ID")
endif()
set(symbols
    "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/lib/debug/.build-id/${CMAKE_MATCH_1}/${CMAKE_MATCH_2}.debug")
cmake_path(GET symbols PARENT_PATH folder)
file(MAKE_DIRECTORY ${folder})
execute_process(COMMAND ${qo_objcopy} --only-keep-debug --compress-debug-sections
                        ${qo_binary} ${symbols}
                COMMAND_ERROR_IS_FATAL ANY)
file(CHMOD ${symbols} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
