# Changes the staged files as Debian's policy requires. cpack runs it before it writes a package.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()
set(share ${CPACK_TEMPORARY_DIRECTORY}/usr/share)
set(doc ${share}/doc/corvel)
set(version ${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})

# corvel_compress(FILE...): like gzip without the time, so that equal builds give equal packages.
function(corvel_compress)
  foreach(file IN LISTS ARGN)
    execute_process(COMMAND gzip -9nf ${file} COMMAND_ERROR_IS_FATAL ANY)
    file(CHMOD ${file}.gz PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  endforeach()
endfunction()

# corvel_write(FILE TEXT)
function(corvel_write file text)
  file(WRITE ${file} "${text}")
  file(CHMOD ${file} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endfunction()

file(REMOVE ${doc}/LICENSE)
file(READ ${CPACK_CORVEL_DEBIAN_FILES}/copyright copyright)
corvel_write(${doc}/copyright "${copyright}")

file(RENAME ${doc}/CHANGELOG.md ${doc}/changelog)
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
corvel_write(${doc}/changelog.Debian
"corvel (${version}) unstable; urgency=medium

  * Corvel ${CPACK_PACKAGE_VERSION}; changelog.gz lists what is new.

 -- ${CPACK_PACKAGE_CONTACT}  ${now}
")
corvel_compress(${doc}/changelog ${doc}/changelog.Debian ${share}/man/man1/corvel.1)

file(RENAME ${share}/zsh/site-functions ${share}/zsh/vendor-completions)

# AppStream requires a home page only after Debian 12, whose lintian would report this override as unused.
if(NOT CPACK_PACKAGE_HOMEPAGE_URL AND NOT CPACK_CORVEL_DEBIAN_VERSION EQUAL 12)
  # script/release makes no release without a home page.
  file(MAKE_DIRECTORY ${share}/lintian/overrides)
  corvel_write(${share}/lintian/overrides/corvel
"# AppStream asks for a home page. This build names none, because nobody has published it.
corvel: appstream-metadata-validation-failed *
")
endif()
