# Packages: a .deb on Linux, a .zip on Windows that runs where it is unpacked. In both the program
# finds its plug-ins as it does in the build folder.
if(WIN32)
  set(program_folder ".")
  set(plugin_folder plugins)
  set(module_folder modules)
  set(document_folder doc)
  foreach(library IN LISTS TAVHOST_RUNTIME_LIBRARIES)
    install(FILES "${library}" DESTINATION .)
  endforeach()
else()
  set(program_folder bin)
  set(plugin_folder lib/tavhost/plugins)
  set(module_folder lib/tavhost/modules)
  set(document_folder share/doc/tavhost)
endif()
install(TARGETS tavhost RUNTIME DESTINATION "${program_folder}")
if(TARGET tavscript_commands)
  install(TARGETS tavscript_commands LIBRARY DESTINATION "${plugin_folder}")
endif()
if(TARGET tavhost_qt)
  install(TARGETS tavhost_qt LIBRARY DESTINATION "${module_folder}")
endif()
set(licence LICENSE)
if(NOT WIN32)
  set(licence)  # on Debian it lies among the common licences, which the copyright file names
endif()
install(FILES ${licence} README.md CHANGELOG.md DESTINATION "${document_folder}")
install(DIRECTORY docs/ DESTINATION "${document_folder}/docs" FILES_MATCHING PATTERN "*.md" PATTERN "*.png")
if(NOT WIN32)
  install(FILES docs/man/tavhost.1 DESTINATION share/man/man1)
endif()
install(DIRECTORY examples/ DESTINATION "${document_folder}/examples" OPTIONAL)

if(NOT WIN32)
  install(FILES completions/tavhost.bash DESTINATION share/bash-completion/completions
    RENAME tavhost)
  install(FILES completions/_tavhost DESTINATION share/zsh/vendor-completions)
  install(FILES completions/tavhost.fish DESTINATION share/fish/vendor_completions.d)
  # What Debian wants of each package.
  install(FILES cmake/debian/copyright DESTINATION "${document_folder}")
  install(FILES cmake/debian/lintian-overrides DESTINATION share/lintian/overrides RENAME tavhost)
  string(TIMESTAMP package_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
  file(CONFIGURE OUTPUT "${CMAKE_BINARY_DIR}/generated/changelog" CONTENT
"tavhost (${PROJECT_VERSION}) stable; urgency=low

  * CHANGELOG.md tells what is new.

 -- The tavhost authors <tavhost@localhost>  ${package_date}
")
  execute_process(COMMAND gzip -9nf "${CMAKE_BINARY_DIR}/generated/changelog")
  install(FILES "${CMAKE_BINARY_DIR}/generated/changelog.gz" DESTINATION "${document_folder}")
endif()

# The licences of the libraries whose code the program holds.
set(used_packages nlohmann-json3-dev libutfcpp-dev libexpected-dev libboost1.74-dev zlib1g-dev)
if(WIN32)
  list(APPEND used_packages g++-mingw-w64-x86-64-posix mingw-w64-x86-64-dev)
endif()
foreach(package IN LISTS used_packages)
  if(EXISTS "/usr/share/doc/${package}/copyright")
    install(FILES "/usr/share/doc/${package}/copyright" DESTINATION "${document_folder}/licenses"
      RENAME "${package}.txt")
  endif()
endforeach()

set(CPACK_PACKAGE_NAME tavhost)
set(CPACK_PACKAGE_VENDOR "The tavhost authors")
set(CPACK_PACKAGE_CONTACT "The tavhost authors <tavhost@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_STRIP_FILES ON)
set(CPACK_THREADS 0)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME "tavhost-${PROJECT_VERSION}-windows-x64")
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION devel)
  set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Commands for TavScript and the host that runs them
 tavhost runs scripts in TavScript with a plug-in of 76 commands: dialogs,
 files, HTTP requests and more. Windows are real ones where there is a
 display; without one, dialogs are answered from a file, so that scripts can
 be tested and automated. It also checks scripts, traces what they do and
 offers them to other programs as a service.")
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  # The program loads these itself when it needs them, so they do not show among the libraries that
  # its file asks for.
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "libcurl4, ca-certificates")
  set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libedit2, libasound2")
endif()
include(CPack)
