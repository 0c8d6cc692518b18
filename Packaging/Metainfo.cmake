# Writes the AppStream metadata: what a software centre shows of Corvel.
include(${CMAKE_CURRENT_LIST_DIR}/Releases.cmake)

set(urls "")
foreach(kind IN ITEMS HOME_PAGE:homepage BUG_TRACKER:bugtracker)
  string(REPLACE ":" ";" kind ${kind})
  list(GET kind 0 variable)
  list(GET kind 1 type)
  if(CORVEL_${variable})
    string(APPEND urls "\n  <url type=\"${type}\">${CORVEL_${variable}}</url>")
  endif()
endforeach()

# corvel_screenshot(FILE CAPTION [ATTRIBUTE]): a picture of docs/pictures, 1180 x 760.
function(corvel_screenshot file caption)
  set(screenshots "${screenshots}
    <screenshot${ARGN}>
      <caption>${caption}</caption>
      <image type=\"source\" width=\"1180\" height=\"760\">${CORVEL_PICTURES}/${file}</image>
    </screenshot>" PARENT_SCOPE)
endfunction()

set(screenshots "")
if(CORVEL_PICTURES)
  corvel_screenshot(window-dark.png "Connections, with messages travelling along them" " type=\"default\"")
  corvel_screenshot(window-light.png "The light appearance")
  corvel_screenshot(channel-dialog-dark.png "An output channel and its keyboard shortcut")
  corvel_screenshot(set-pop-up-dark.png "Connection sets, one for each song")
  set(screenshots "\n  <screenshots>${screenshots}\n  </screenshots>")
endif()

configure_file(app.corvel.Corvel.metainfo.xml.in app.corvel.Corvel.metainfo.xml @ONLY)
