# Debian packages, by CPack: the library, its development files, the inspector, the Python package, and
# the symbols of all binaries. `cmake --preset debian` is the build tree that they are made from.

set(qo_packaging ${PROJECT_SOURCE_DIR}/packaging/debian)
set(qo_library_package libqo-cmc-parser)  # Debian's rule for a SONAME without a number

set(CPACK_GENERATOR DEB)
set(CPACK_SOURCE_GENERATOR TXZ)
set(CPACK_SOURCE_IGNORE_FILES "/build/" "/out/" "/\\\\.git/")
set(CPACK_PACKAGE_NAME qo-cmc-parser)
set(CPACK_PACKAGE_VENDOR "qo_cmc_parser project")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE qo-cmc-parser)
set(CPACK_DEBIAN_PACKAGE_RELEASE 0qo1)  # older than Debian's own would be
# The project, at a host that cannot exist: packages are handed on, and nobody's address with them.
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "qo_cmc_parser project <qo-cmc-parser@qo-cmc-parser.invalid>")
set(qo_revision ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})

# The day that the changelog gives this version; before it is released, the day of the build (or of
# SOURCE_DATE_EPOCH).
file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md qo_released
     REGEX "^## \\[${PROJECT_VERSION}\\] - [0-9]+-[0-9]+-[0-9]+$")
string(REGEX REPLACE ".* - " "" qo_released "${qo_released}")
if(NOT qo_released)
  string(TIMESTAMP qo_released "%Y-%m-%d" UTC)
endif()
execute_process(COMMAND date --utc --rfc-email --date=${qo_released}
                OUTPUT_VARIABLE qo_released_at OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
set(qo_changelog ${PROJECT_BINARY_DIR}/packaging/changelog)
configure_file(${qo_packaging}/changelog.in ${qo_changelog} @ONLY)
# Without the time of the build.
execute_process(COMMAND gzip --best --no-name --stdout ${qo_changelog}
                OUTPUT_FILE ${qo_changelog}.gz)

# qo_debian_package(group name section components...): a package of these components, and of what
# only packages hold, which no plain installation asks for.
function(qo_debian_package group name section)
  set(only_here COMPONENT debian_${group} EXCLUDE_FROM_ALL)
  install(FILES ${qo_packaging}/copyright DESTINATION share/doc/${name} ${only_here})
  install(FILES ${qo_changelog}.gz RENAME changelog.Debian.gz DESTINATION share/doc/${name}
          ${only_here})
  if(EXISTS ${qo_packaging}/${name}.lintian-overrides)
    install(FILES ${qo_packaging}/${name}.lintian-overrides RENAME ${name}
            DESTINATION share/lintian/overrides ${only_here})
  endif()
  foreach(component IN LISTS ARGN ITEMS debian_${group})
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    string(TOUPPER ${component} component)
    set(CPACK_COMPONENT_${component}_GROUP ${group} PARENT_SCOPE)
  endforeach()
  file(READ ${qo_packaging}/${name}.description description)
  string(STRIP "${description}" description)
  string(TOUPPER ${group} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${description}" PARENT_SCOPE)
  set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} PARENT_SCOPE)
endfunction()

# qo_debian_symbols(group target): a target's symbols, for that group's package. CPack would make such
# packages by itself, with paths of the build where checksums' files are named.
function(qo_debian_symbols group target)
  install(CODE "
    set(qo_binary [[$<TARGET_FILE:${target}>]])
    set(qo_objcopy [[${CMAKE_OBJCOPY}]])
    set(qo_readelf [[${CMAKE_READELF}]])"
    COMPONENT debian_${group} EXCLUDE_FROM_ALL)
  install(SCRIPT ${PROJECT_SOURCE_DIR}/cmake/install_symbols.cmake
          COMPONENT debian_${group} EXCLUDE_FROM_ALL)
endfunction()

set(CPACK_COMPONENTS_ALL "")
qo_debian_package(runtime ${qo_library_package} libs runtime)
qo_debian_package(runtime_symbols ${qo_library_package}-dbg debug)
qo_debian_symbols(runtime_symbols qo_cmc_parser)
qo_debian_package(development ${qo_library_package}-dev libdevel development docs)
if(QO_BUILD_TOOLS)
  qo_debian_package(tools qo-cmc utils tools)
  if(QO_SCDOC)
    # Debian wants it so; a package's own component is installed after what it packs.
    install(CODE "
      execute_process(COMMAND gzip --best --no-name --force
        \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_MANDIR}/man1/qo-cmc.1\"
        COMMAND_ERROR_IS_FATAL ANY)"
      COMPONENT debian_tools EXCLUDE_FROM_ALL)
  endif()
  qo_debian_package(tools_symbols qo-cmc-dbg debug)
  qo_debian_symbols(tools_symbols qo-cmc)
endif()
if(QO_BUILD_PYTHON)
  qo_debian_package(python python3-qo-cmc python python)
  qo_debian_package(python_symbols python3-qo-cmc-dbg debug)
  qo_debian_symbols(python_symbols qo_python_parsing)
  qo_debian_symbols(python_symbols qo_python_toolkit)
endif()

# Deliberate: the stack's three libraries are required, though no archive of Debian has them. The
# loader refuses the library without them, and its packages are the stack's maker's: who installs on
# a machine without the stack makes packages of these names from the stand-ins. Their names follow
# from their SONAMEs, as this library's own does.
#
# The C library is stated by hand as well, the first that every architecture has: with
# dpkg-shlibdeps CPack would add scripts that call ldconfig, where Debian has a trigger.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS
    "libc6 (>= 2.17), libqo-log, libqo-nvm, libqo-vexb-parser")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${qo_packaging}/triggers)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_RUNTIME_SYMBOLS_PACKAGE_DEPENDS "${qo_library_package} (= ${qo_revision})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${qo_library_package} (= ${qo_revision})")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_SYMBOLS_PACKAGE_DEPENDS "qo-cmc (= ${qo_revision})")
if(QO_BUILD_PYTHON)
  # The modules are for one minor version of the interpreter; the folder that they are in is for all.
  # Which package the library is in dpkg-shlibdeps cannot know yet, but it has to find it.
  math(EXPR qo_next_minor "${qo_python_minor} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.${qo_python_minor}), \
python3 (<< 3.${qo_next_minor}), python3-numpy, python3-numpy-abi${qo_numpy_abi}, \
${qo_library_package} (= ${qo_revision})")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS "python3-matplotlib, python3-tqdm")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS python3-distributed)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
      ${PROJECT_BINARY_DIR}/lib ${PROJECT_BINARY_DIR}/lib/platform)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
      ${qo_packaging}/python3-qo-cmc/postinst ${qo_packaging}/python3-qo-cmc/prerm)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_STRICT_PERMISSION ON)
  set(CPACK_DEBIAN_PYTHON_SYMBOLS_PACKAGE_DEPENDS "python3-qo-cmc (= ${qo_revision})")
endif()
include(CPack)
