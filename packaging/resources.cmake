# kov_resources(<target> <manifest> <description> <description in Chinese> [<icon>]): the
# resources of a program that ships, its manifest among them. The icon is a file of this
# folder, kov.ico when none is named. One file a program: where GNU ld merges
# several, the section's size on disk is no multiple of the file's alignment, and tools that
# sign programs then disagree about what there is to sign.
function(kov_resources target manifest description description_zh)
  set(KOV_TARGET ${target})
  set(KOV_ICON kov.ico)
  if(ARGC GREATER 4)
    set(KOV_ICON ${ARGV4})
  endif()
  set(KOV_DESCRIPTION ${description})
  set(KOV_DESCRIPTION_ZH ${description_zh})
  cmake_path(GET manifest FILENAME KOV_MANIFEST)
  cmake_path(ABSOLUTE_PATH manifest)
  cmake_path(GET manifest PARENT_PATH manifest_folder)
  set(folder ${CMAKE_SOURCE_DIR}/packaging)
  set(file ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
  configure_file(${folder}/program.rc.in ${file} @ONLY)
  target_sources(${target} PRIVATE ${file})
  # The compiler looks for icon and manifest here; a path in the file would differ from
  # folder to folder.
  set_source_files_properties(${file} PROPERTIES
    INCLUDE_DIRECTORIES "${folder};${manifest_folder}"
    OBJECT_DEPENDS "${folder}/${KOV_ICON};${manifest}")
  if(MSVC)
    target_link_options(${target} PRIVATE /MANIFEST:NO)
  endif()
endfunction()
