# libqo_cmc_parser.so: its objects and its link.

# The objects stand apart from the shared library so that tests can link the functions it hides.
set(qo_library_flags -fno-exceptions -fno-rtti -fno-threadsafe-statics -fvisibility=hidden
    -fvisibility-inlines-hidden -fstack-protector-strong)
if(CMAKE_BUILD_TYPE STREQUAL "Release")
  # Symbols, where -g asks for them, name no folder of the machine. The build's folder may lie in the
  # sources', and the last one that fits counts. Other build types keep the paths, by which debuggers
  # find sources.
  list(APPEND qo_library_flags "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=."
       "-ffile-prefix-map=${PROJECT_BINARY_DIR}=./build")
endif()
if(QO_COVERAGE)
  # Not optimised: what compilers merge or drop could not be told apart.
  set(qo_coverage_flags -O0 --coverage -fprofile-abs-path)
  # Each object counts its own copy of what headers hold: the linker would take one for all. GCC
  # warns that constants are copied too.
  list(APPEND qo_library_flags ${qo_coverage_flags} -fno-weak -w)
  # Nor are kernels inlined, so that a branch is counted once, not once more for each use.
  list(APPEND qo_library_flags -Dalways_inline=)
  add_link_options(--coverage)
endif()
add_library(qo_cmc_objects OBJECT)
add_subdirectory(${PROJECT_SOURCE_DIR}/cmc_parser)
add_subdirectory(${PROJECT_SOURCE_DIR}/lsc)
add_subdirectory(${PROJECT_SOURCE_DIR}/image_utils)
add_subdirectory(${PROJECT_SOURCE_DIR}/rows)
target_include_directories(qo_cmc_objects
  PUBLIC ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/platform/include
  PRIVATE ${PROJECT_SOURCE_DIR})
target_compile_options(qo_cmc_objects PRIVATE ${qo_library_flags})
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT QO_SANITIZE)
  target_compile_options(qo_cmc_objects PRIVATE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()

add_library(qo_cmc_parser SHARED $<TARGET_OBJECTS:qo_cmc_objects>
            $<TARGET_PROPERTY:qo_cmc_objects,INTERFACE_SOURCES>)
target_include_directories(qo_cmc_parser PUBLIC
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_libraries(qo_cmc_parser PRIVATE qo_log qo_vexb_parser qo_nvm)
add_library(qo::cmc_parser ALIAS qo_cmc_parser)

# Linked by the C driver and with only what is needed: the C++ runtime is never loaded.
set(exports ${PROJECT_SOURCE_DIR}/cmake/exports.map)
set_target_properties(qo_cmc_parser PROPERTIES LINKER_LANGUAGE C LINK_DEPENDS ${exports})
if(PROJECT_IS_TOP_LEVEL)
  # The stand-ins are found beside a built library, never beside an installed one. CMake's own
  # switch of run paths would pad this one with an empty element: the current directory.
  set_target_properties(qo_cmc_parser PROPERTIES
    BUILD_WITH_INSTALL_RPATH ON
    INSTALL_RPATH "$ORIGIN/platform")
endif()
target_link_options(qo_cmc_parser PRIVATE
  -static-libgcc -Wl,--as-needed -Wl,--version-script=${exports} -Wl,--no-undefined
  -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack ${qo_from_executable})

# The whole library, with what it hides, for tools that link it into themselves. Where no real stack
# is named its stand-ins come along, all but the log: who links this defines qo_log().
add_library(qo_cmc_internal STATIC EXCLUDE_FROM_ALL $<TARGET_OBJECTS:qo_cmc_objects>
            $<TARGET_PROPERTY:qo_cmc_objects,INTERFACE_SOURCES>)
set_target_properties(qo_cmc_internal PROPERTIES LINKER_LANGUAGE CXX)
target_include_directories(qo_cmc_internal PUBLIC
  ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/platform/include)
if(QO_PLATFORM_ROOT)
  target_link_libraries(qo_cmc_internal PUBLIC qo_vexb_parser qo_nvm)
else()
  target_link_libraries(qo_cmc_internal PUBLIC qo_vexb_parser_static qo_nvm_static)
endif()
