# What is installed, by component: runtime (the library), development (headers, CMake package,
# pkg-config file), docs, tools, and standins, which a plain installation leaves out.

include(CMakePackageConfigHelpers)

set(qo_package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/qo_cmc_parser)
# In a folder of their own, where nothing finds them by accident.
set(qo_standin_folder ${CMAKE_INSTALL_LIBDIR}/qo_cmc_parser/standins)

install(TARGETS qo_cmc_parser LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime)
# A built library finds the stand-ins beside it; an installed one finds the stack's own as any other.
install(CODE "
  set(folder \"${CMAKE_INSTALL_LIBDIR}\")
  cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\" NORMALIZE)
  file(RPATH_REMOVE FILE \"\$ENV{DESTDIR}\${folder}/libqo_cmc_parser.so\")"
  COMPONENT runtime)

# From an absolute folder of libraries the headers are found where they were said to be, not where
# another prefix takes them.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" AND NOT IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  install(CODE "
    if(NOT CMAKE_INSTALL_PREFIX STREQUAL [[${CMAKE_INSTALL_PREFIX}]])
      message(FATAL_ERROR [[CMAKE_INSTALL_LIBDIR is absolute, and the prefix was ${CMAKE_INSTALL_PREFIX}. \
Configure the build for another prefix, or for a relative folder of libraries]])
    endif()"
    COMPONENT development)
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/qo_cmc
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
# Deliberate: no exported targets. CMake would ask for the stack's libraries among them, which are
# not this project's to install.
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/qo_cmc_parserConfig.cmake.in
  ${PROJECT_BINARY_DIR}/qo_cmc_parserConfig.cmake
  INSTALL_DESTINATION ${qo_package_folder}
  PATH_VARS qo_standin_folder CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qo_cmc_parserConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qo_cmc_parserConfig.cmake
              ${PROJECT_BINARY_DIR}/qo_cmc_parserConfigVersion.cmake
        DESTINATION ${qo_package_folder} COMPONENT development)

# The prefix is told from where the file lies: `cmake --install --prefix` and moved trees keep it.
set(qo_pc_prefix ${CMAKE_INSTALL_PREFIX})
set(qo_pc_libdir ${CMAKE_INSTALL_FULL_LIBDIR})
set(qo_pc_includedir ${CMAKE_INSTALL_FULL_INCLUDEDIR})
if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  cmake_path(RELATIVE_PATH qo_pc_prefix
             BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig OUTPUT_VARIABLE qo_pc_prefix)
  set(qo_pc_prefix "\${pcfiledir}/${qo_pc_prefix}")
  set(qo_pc_libdir "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
  if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
    set(qo_pc_includedir "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
  endif()
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/qo_cmc_parser.pc.in
               ${PROJECT_BINARY_DIR}/qo_cmc_parser.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qo_cmc_parser.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# As in the checkout, where the pages lead to each other and to the examples.
file(GLOB qo_pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/*.md)
install(FILES ${qo_pages} DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT docs)
# What the site is made with is for a checkout.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT docs
        FILES_MATCHING PATTERN *.md PATTERN *.svg PATTERN *.png)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT docs)

# For machines without the stack: what a client needs to link and to run.
if(NOT QO_PLATFORM_ROOT)
  foreach(name qo_log qo_vexb_parser qo_nvm)
    get_target_property(folder ${name} SOURCE_DIR)
    if(NOT folder STREQUAL "${PROJECT_SOURCE_DIR}/platform")
      continue()  # the parent's, which installs it or not
    endif()
    install(FILES $<TARGET_FILE:${name}> DESTINATION ${qo_standin_folder}
            PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                        WORLD_READ WORLD_EXECUTE
            COMPONENT standins EXCLUDE_FROM_ALL)
  endforeach()
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/include/ DESTINATION ${qo_standin_folder}/include
          COMPONENT standins EXCLUDE_FROM_ALL)
endif()
