# The manual page and the shell completions, written during the build: templates that are filled from the program's
# table of options. When cross-compiling, CMAKE_CROSSCOMPILING_EMULATOR runs the writer.
add_library(corvel_option_texts STATIC texts/ManualTexts.cpp texts/OptionTexts.cpp texts/ShellTexts.cpp)
target_link_libraries(corvel_option_texts PUBLIC corvel_options)
add_executable(corvel-option-texts texts/main.cpp)
target_link_libraries(corvel-option-texts PRIVATE corvel_option_texts)

set(texts "")
foreach(text IN ITEMS corvel.1 corvel.bash _corvel command-names)
  set(output ${CMAKE_CURRENT_BINARY_DIR}/${text})
  add_custom_command(
    OUTPUT ${output}
    COMMAND corvel-option-texts ${CMAKE_CURRENT_SOURCE_DIR}/texts/${text}.in ${output}
      VERSION=${PROJECT_VERSION} DATE=${CORVEL_RELEASE_DATE}
    DEPENDS corvel-option-texts texts/${text}.in
    VERBATIM)
  list(APPEND texts ${output})
endforeach()
add_custom_target(packaging_texts ALL DEPENDS ${texts})
