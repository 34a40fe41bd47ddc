# quorvanti_exports(target list...)
# The shared library shows the names in the lists, one a line, and nothing else; templates of the standard library that
# the compiler instantiates in it would show otherwise. On Windows target_IMPORTS becomes what MSVC's tools take: the module
# definition file and the import library made from it (MinGW's own is the linker's).
function(quorvanti_exports target)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${ARGN})
  set(names)
  foreach(list ${ARGN})
    file(STRINGS ${list} listed)
    list(APPEND names ${listed})
  endforeach()
  if(WIN32)
    list(JOIN names "\n" lines)
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}.def)
    set(import_library ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/${target}.lib)
    file(CONFIGURE OUTPUT ${script} CONTENT "LIBRARY ${target}.dll\nEXPORTS\n@lines@\n" @ONLY)
    target_sources(${target} PRIVATE ${script})
    add_custom_command(OUTPUT ${import_library}
      COMMAND ${CMAKE_DLLTOOL} --machine i386:x86-64 --input-def ${script} --output-lib ${import_library}
      DEPENDS ${script} COMMENT "Making ${target}.lib" VERBATIM)
    add_custom_target(${target}_import_library ALL DEPENDS ${import_library})
    set(${target}_IMPORTS ${script} ${import_library} PARENT_SCOPE)
  else()
    list(JOIN names ";\n" lines)
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
    file(CONFIGURE OUTPUT ${script} CONTENT "{\nglobal:\n@lines@;\nlocal: *;\n};\n" @ONLY)
    # Symbolic: a host that happens to define one of our names must not be called instead of us.
    target_link_options(${target} PRIVATE LINKER:--version-script=${script} LINKER:-Bsymbolic)
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${script})
  endif()
endfunction()
