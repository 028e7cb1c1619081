# Checked for its syntax, and for what it makes of the installed files; no image has been built with
# it yet.

SUMMARY = "Camera-module characterization parser and lens-shading toolkit"
DESCRIPTION = "libqo_cmc_parser.so reads the camera-module characterization records of a tuning \
container into one structure of slots, and rebuilds lens-shading tables for a module. It exports \
the numeric tools that it is made of."
SECTION = "libs/multimedia"
# The licence is the owner's to choose, and none has been chosen yet.
LICENSE = "CLOSED"

# The repository that this layer lies in, at what is committed there. A distribution names its mirror,
# and the commit of a release.
QO_CMC_PARSER_REPOSITORY ?= "${@os.path.normpath(os.path.join(d.getVar('THISDIR'), '../../../../..'))}"
SRC_URI = "git://${QO_CMC_PARSER_REPOSITORY};protocol=file;branch=main"
SRCREV ?= "${AUTOREV}"
PV:append = "+git${SRCPV}"
S = "${WORKDIR}/git"

inherit cmake pkgconfig

# The stack's own libraries. A native build goes without the stack: with its stand-ins.
DEPENDS:append:class-target = " qo-log qo-nvm qo-vexb-parser"
EXTRA_OECMAKE:append:class-target = " -DQO_PLATFORM_ROOT=${STAGING_DIR_HOST}${prefix}"
# What another compiler warns of is no reason to have no image.
EXTRA_OECMAKE += "-DQO_WERROR=OFF"

# The inspector looks into containers where they are made: it is built for the build machine, not
# for the target. The Python package is not built at all: it is for desks, and wants NumPy there.
PACKAGECONFIG ??= ""
PACKAGECONFIG:class-native ??= "tools"
PACKAGECONFIG[tools] = "-DQO_BUILD_TOOLS=ON,-DQO_BUILD_TOOLS=OFF,cairo cli11 fmt libpng nlohmann-json"
BBCLASSEXTEND = "native"

# The SONAME has no number, so that the library is no link that only developers need. A file of this
# name is not what the check "dev-so" is about: no check is skipped.
SOLIBS = ".so"
FILES_SOLIBSDEV = ""
