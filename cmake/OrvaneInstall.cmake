# Where an installed bench keeps its parts, and the Debian package made of them.
#
#   bin/orvane-bench
#   lib/orvane/libOrvaneUIFramework.so, libOrvaneWebKit.so, libOrvaneBenchNetwork.so, libvexorcef.so, vexor-cef-launcher, orvane-host-command, host-commands/
#   lib/orvane/plugins/DiagnosticTools/   the plug-in, its CAN filter, assets -> share/orvane/assets
#   share/orvane/assets/                  skins, pages, the sample catalogue and log
#   /usr/vexor/UI/assets/web_content/manual/   the owner's manual, where the browser may show local pages
#
# The bench finds the plug-in and helpers beside itself in the build tree and in lib/orvane once
# installed, so neither needs options.
include(GNUInstallDirs)

set(ORVANE_LIB_DIR ${CMAKE_INSTALL_LIBDIR}/orvane)
set(ORVANE_PLUGIN_DIR ${ORVANE_LIB_DIR}/plugins/DiagnosticTools)
set(ORVANE_DATA_DIR ${CMAKE_INSTALL_DATADIR}/orvane)
set(ORVANE_LOCAL_CONTENT_DIR /usr/vexor/UI/assets/web_content CACHE PATH
    "Where the browser allows local pages; the owner's manual is installed under it")

# One RPATH, relative to the file, for the build tree and the installed tree. Rewritten at
# install time instead, it would end the build tree's with an empty entry to make room, which
# the loader reads as the current folder: a dozen failed opens for every library.
set_target_properties(orvane-bench PROPERTIES BUILD_WITH_INSTALL_RPATH ON
  INSTALL_RPATH "$ORIGIN/../${ORVANE_LIB_DIR}:$ORIGIN/../lib")
set_target_properties(DiagnosticTools PROPERTIES BUILD_WITH_INSTALL_RPATH ON
  INSTALL_RPATH "$ORIGIN/../..:$ORIGIN/../../../lib")
set_target_properties(OrvaneWebKit PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN")
set_target_properties(OrvaneBenchNetwork PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN/../lib:$ORIGIN")

install(TARGETS orvane-bench RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS OrvaneUIFramework vexorcef LIBRARY DESTINATION ${ORVANE_LIB_DIR} NAMELINK_SKIP)
install(TARGETS OrvaneWebKit OrvaneBenchNetwork LIBRARY DESTINATION ${ORVANE_LIB_DIR})
install(TARGETS vexor-cef-launcher orvane-host-command RUNTIME DESTINATION ${ORVANE_LIB_DIR})
install(TARGETS DiagnosticTools LIBRARY DESTINATION ${ORVANE_PLUGIN_DIR} NAMELINK_SKIP)
install(FILES ${PROJECT_SOURCE_DIR}/plugin/diag/can/diagCAN-config.json DESTINATION ${ORVANE_PLUGIN_DIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/assets/ DESTINATION ${ORVANE_DATA_DIR}/assets)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/assets/web_content/manual DESTINATION ${ORVANE_LOCAL_CONTENT_DIR})

get_property(ORVANE_HOST_COMMANDS GLOBAL PROPERTY ORVANE_HOST_COMMANDS)
# Links made at install time, relative, so the tree can be moved or staged.
file(RELATIVE_PATH assets_link /${ORVANE_PLUGIN_DIR} /${ORVANE_DATA_DIR}/assets)
install(CODE "
  set(root \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")
  file(CREATE_LINK \"${assets_link}\" \"\${root}/${ORVANE_PLUGIN_DIR}/assets\" SYMBOLIC)
  file(MAKE_DIRECTORY \"\${root}/${ORVANE_LIB_DIR}/host-commands\")
  foreach(name ${ORVANE_HOST_COMMANDS})
    file(CREATE_LINK ../orvane-host-command \"\${root}/${ORVANE_LIB_DIR}/host-commands/\${name}\" SYMBOLIC)
  endforeach()
")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orvane-bench)
set(CPACK_PACKAGE_VERSION 0.1.0)
set(CPACK_PACKAGE_CONTACT "Orvane developers <dev@orvane.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "The car's centre display on a desk, with the diagnostic plug-in")
set(CPACK_PACKAGE_DESCRIPTION
    "orvane-bench plays a car's centre display: it loads the diagnostic plug-in, runs its pages, its embedded browser and its CAN viewer, in a window or off screen, driven by hand or by script.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
# Libraries from what the binaries link; what they only run or read is named here.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/lib)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "chromium, libqt5sql5-sqlite, fonts-dejavu-core")
set(CPACK_OUTPUT_FILE_PREFIX ${CMAKE_BINARY_DIR})
include(CPack)
