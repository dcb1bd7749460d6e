# Run by cpack between the installation of the components and the making of their packages: adds what
# Debian asks of a package beyond what a plain installation has.
find_program(gzip gzip REQUIRED)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)

# compress(FILE): without time and name, so that the same files make the same package.
function(compress file)
  execute_process(COMMAND ${gzip} -9nf ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr)
  string(TOUPPER ${component} key)
  set(package ${CPACK_DEBIAN_${key}_PACKAGE_NAME})
  set(documents ${root}/share/doc/${package})
  configure_file(${CPACK_MOXPVR_DEBIAN_FOLDER}/copyright ${documents}/copyright COPYONLY)
  configure_file(${CPACK_MOXPVR_DEBIAN_FOLDER}/changelog.in ${documents}/changelog @ONLY)
  compress(${documents}/changelog)
  file(REMOVE ${root}/share/doc/moxpvr/LICENSE)  # Debian has it
  file(GLOB documentation ${root}/share/doc/moxpvr/*)
  if(NOT documentation)
    file(REMOVE_RECURSE ${root}/share/doc/moxpvr)
  endif()
  file(GLOB_RECURSE manuals ${root}/share/man/*.[1-9])
  foreach(manual IN LISTS manuals)
    compress(${manual})
  endforeach()
endforeach()
