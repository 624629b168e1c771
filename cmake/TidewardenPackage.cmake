# The Debian package, built by `cpack -G DEB` from an already built tree (scripts/package
# does it from a fresh Release build). Its dependencies come from the libraries the
# executable links, through dpkg-shlibdeps, and libcurl, which it loads when needed.
set(TIDEWARDEN_MAINTAINER "The Tidewarden developers <maintainers@tidewarden.invalid>"
  CACHE STRING "Maintainer of the Debian package, \"Name <address>\"")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tidewarden)
set(CPACK_PACKAGE_VENDOR "The Tidewarden developers")
set(CPACK_PACKAGE_CONTACT "${TIDEWARDEN_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Loaded at run time rather than linked, so dpkg-shlibdeps cannot see them: libcurl,
# libcrypto (in libssl3), and the Qt plugin that draws the window's bundled SVG icons.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libcurl4, libssl3")
if(TIDEWARDEN_GUI)
  string(APPEND CPACK_DEBIAN_PACKAGE_DEPENDS ", libqt6svg6")
endif()
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${PROJECT_HOMEPAGE_URL}")
# Worktrees and repositories are read and cleaned through git itself.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS git)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "disk cleanup for software developers")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Tidewarden finds the space that development work leaves behind: build
artifacts in projects, package-manager and application caches, logs,
toolchains, IDE leftovers, Docker data, local AI models, git worktrees and
bloated repositories, duplicate files and the Trash. It removes what you
choose (to the Trash, deleted, through the owning tool's own command, or by
making duplicates share their blocks) and logs every removal.
.
The tidewarden command lists and cleans all of it from a terminal, as text
or JSON; destructive commands act only with --yes.")
include(CPack)
