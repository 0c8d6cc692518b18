# Writes the AppStream metadata for software centres.
include(${CMAKE_CURRENT_LIST_DIR}/Releases.cmake)

# corvel_screenshot(FILE CAPTION [ATTRIBUTE]): a picture of docs/pictures, 1180 x 760.
function(corvel_screenshot file caption)
  set(screenshots "${screenshots}
    <screenshot${ARGN}>
      <caption>${caption}</caption>
      <image type=\"source\" width=\"1180\" height=\"760\">${CORVEL_PICTURES}/${file}</image>
    </screenshot>" PARENT_SCOPE)
endfunction()

# corvel_write_metainfo(OUTPUT): writes the metadata with the publisher's addresses.
function(corvel_write_metainfo output)
  set(urls "")
  if(CORVEL_HOME_PAGE)
    string(APPEND urls "\n  <url type=\"homepage\">${CORVEL_HOME_PAGE}</url>")
  endif()
  if(CORVEL_BUG_TRACKER)
    string(APPEND urls "\n  <url type=\"bugtracker\">${CORVEL_BUG_TRACKER}</url>")
  endif()
  set(screenshots "")
  if(CORVEL_PICTURES)
    corvel_screenshot(window-dark.png "Connections, with messages travelling along them" " type=\"default\"")
    corvel_screenshot(window-light.png "The light appearance")
    corvel_screenshot(channel-dialog-dark.png "An output channel and its keyboard shortcut")
    corvel_screenshot(set-pop-up-dark.png "Connection sets, one for each song")
    set(screenshots "\n  <screenshots>${screenshots}\n  </screenshots>")
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/Packaging/app.corvel.Corvel.metainfo.xml.in ${output} @ONLY)
endfunction()
