# Packages of this build: cpack -G DEB, cpack -G RPM; of the sources: cpack --config CPackSourceConfig.cmake.
set(CPACK_PACKAGE_NAME corvel)
set(CPACK_PACKAGE_VENDOR "The Corvel developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DESCRIPTION
"Corvel shows the MIDI inputs and outputs of the computer. Drag an input onto
an output to connect them: every message passes, either unchanged or forced
onto another channel.
.
Notes and controllers travel along their connection as lights. Keyboard
shortcuts switch output channels in the middle of a phrase. Connections are
kept in named sets, saved as soon as they change, and work again when their
devices come back. Corvel also runs without a window, as a service.")
set(CPACK_PACKAGE_HOMEPAGE_URL "${CORVEL_HOME_PAGE}")
set(CPACK_PACKAGE_CONTACT "${CORVEL_CONTACT}")
if(NOT CORVEL_CONTACT)
  # Packages must have a contact. No mail can ever reach this domain.
  set(CPACK_PACKAGE_CONTACT "Unpublished build <nobody@corvel.invalid>")
endif()
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# A package runs only on the release that it was built on, because the libraries differ. So its version names the
# release; the version for a newer release is higher.
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
if(EXISTS /etc/os-release)
  file(STRINGS /etc/os-release system REGEX "^(ID|VERSION_ID)=")
  string(REPLACE "\"" "" system "${system}")
  if(system MATCHES "(^|;)ID=debian(;|$)" AND system MATCHES "(^|;)VERSION_ID=([0-9]+)(;|$)")
    string(APPEND CPACK_DEBIAN_PACKAGE_RELEASE "~deb${CMAKE_MATCH_2}")
    set(CPACK_CORVEL_DEBIAN_VERSION ${CMAKE_MATCH_2})
  endif()
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Real-time priority, the fonts of the window, the window on Wayland.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "rtkit, fonts-inter, fonts-dejavu-core, qt6-wayland")
set(CPACK_CORVEL_DEBIAN_FILES ${CMAKE_CURRENT_SOURCE_DIR}/debian)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/debian/Finish.cmake)

set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_LICENSE MIT)
set(CPACK_RPM_PACKAGE_GROUP Applications/Multimedia)
set(CPACK_RPM_PACKAGE_AUTOREQ ON)
# A single full stop is a blank line only in Debian's form.
string(REPLACE "\n.\n" "\n\n" CPACK_RPM_PACKAGE_DESCRIPTION "${CPACK_PACKAGE_DESCRIPTION}")
set(CPACK_RPM_SPEC_MORE_DEFINE "%define _build_id_links none")
# Folders that belong to other packages.
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
  /usr/lib/systemd
  /usr/lib/systemd/user
  /usr/libexec
  /usr/share/applications
  /usr/share/bash-completion
  /usr/share/bash-completion/completions
  /usr/share/doc
  /usr/share/icons
  /usr/share/icons/hicolor
  /usr/share/icons/hicolor/512x512
  /usr/share/icons/hicolor/512x512/apps
  /usr/share/icons/hicolor/scalable
  /usr/share/icons/hicolor/scalable/apps
  /usr/share/man
  /usr/share/man/man1
  /usr/share/metainfo
  /usr/share/polkit-1
  /usr/share/polkit-1/rules.d
  /usr/share/zsh
  /usr/share/zsh/site-functions)

set(CPACK_SOURCE_GENERATOR TXZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME corvel-${PROJECT_VERSION})
set(CPACK_SOURCE_IGNORE_FILES
  "/build[^/]*/" "/\\\\.git(/|$)" "/\\\\.cache/" "/\\\\.idea/" "/\\\\.vscode/" "/__pycache__/" "~$"
  "/CMakeUserPresets\\\\.json$" "/compile_commands\\\\.json$")
include(CPack)
