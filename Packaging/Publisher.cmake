# The publisher of Corvel. Fill this in before a release; script/release reads this file. Other builds may use -D. Empty
# fields are left out of the metadata and the packages, so that nobody writes to an address without a reader.
set(CORVEL_CONTACT "" CACHE STRING "Who answers for the packages, as \"Name <address>\"")
set(CORVEL_HOME_PAGE "" CACHE STRING "Address of the home page")
set(CORVEL_BUG_TRACKER "" CACHE STRING "Address at which users report faults")
set(CORVEL_PICTURES "" CACHE STRING "Address of the folder docs/pictures, from which software centres load screenshots")
