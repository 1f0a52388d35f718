# kov_identity(<target> <description> <description in Chinese>): the icon and the version
# resource of a program that ships. Its manifest is a file of its own.
function(kov_identity target description description_zh)
  set(KOV_TARGET ${target})
  set(KOV_DESCRIPTION ${description})
  set(KOV_DESCRIPTION_ZH ${description_zh})
  set(folder ${CMAKE_SOURCE_DIR}/packaging)
  set(file ${CMAKE_CURRENT_BINARY_DIR}/${target}_identity.rc)
  configure_file(${folder}/identity.rc.in ${file} @ONLY)
  target_sources(${target} PRIVATE ${file})
  # windres looks for the icon here; a path in the file would differ from folder to folder.
  set_source_files_properties(${file} PROPERTIES
    INCLUDE_DIRECTORIES ${folder}
    OBJECT_DEPENDS ${folder}/kov.ico)
  if(MSVC)
    target_link_options(${target} PRIVATE /MANIFEST:NO)
  endif()
endfunction()
