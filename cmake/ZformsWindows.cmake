# What programs and libraries for Windows have beside their code.

enable_language(RC)

# Gives the target a version resource, and a program also a manifest.
function(zforms_add_version target description)
  get_target_property(type ${target} TYPE)
  set(VERSION_KIND 1)
  set(VERSION_SUFFIX .exe)
  set(VERSION_MANIFEST "1 24 \"${PROJECT_SOURCE_DIR}/packaging/windows/program.manifest\"")
  if(type STREQUAL "SHARED_LIBRARY")
    set(VERSION_KIND 2)
    set(VERSION_SUFFIX .dll)
    set(VERSION_MANIFEST "")
  endif()
  set(VERSION_DESCRIPTION "${description}")
  string(REPLACE "." "," VERSION_NUMBERS "${PROJECT_VERSION},0")
  configure_file("${PROJECT_SOURCE_DIR}/packaging/windows/version.rc.in" "${PROJECT_BINARY_DIR}/${target}.rc" @ONLY)
  target_sources(${target} PRIVATE "${PROJECT_BINARY_DIR}/${target}.rc")
endfunction()
