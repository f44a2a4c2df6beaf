# Files that the library reads at run time: installed under share/, and copied beside the programs of the build tree.
set(resources genres.plist)
set(data_folder ${CMAKE_INSTALL_DATADIR}/auspool)
foreach(resource ${resources})
  configure_file(${PROJECT_SOURCE_DIR}/data/${resource} ${PROJECT_BINARY_DIR}/share/auspool/${resource} COPYONLY)
  install(FILES ${PROJECT_SOURCE_DIR}/data/${resource} DESTINATION ${data_folder})
endforeach()

# From the folder of the library to that of its data, so that an installed tree can be moved.
file(RELATIVE_PATH data_from_library /${CMAKE_INSTALL_LIBDIR} /${data_folder})
set_source_files_properties(platform/resource.cpp PROPERTIES COMPILE_DEFINITIONS
  "AUSPOOL_DATA_FROM_LIBRARY=\"${data_from_library}\";AUSPOOL_DATA_FOLDER=\"${CMAKE_INSTALL_FULL_DATADIR}/auspool\"")
