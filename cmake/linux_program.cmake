# The Linux program, and what a desktop needs to show it, where the base directories of desktops and
# the GNU standards have it.
include(GNUInstallDirs)
find_package(Qt6 6.4 REQUIRED COMPONENTS Widgets)

quillgate_sources(sources ui/qt)
add_executable(quillgate ${sources})
target_link_libraries(quillgate PRIVATE quillgate_ui Qt6::Widgets)
install(TARGETS quillgate)

foreach(file IN ITEMS org.example.quillgate.metainfo.xml quillgate.1)
  configure_file(packaging/linux/${file}.in ${CMAKE_CURRENT_BINARY_DIR}/packaging/${file} @ONLY)
endforeach()
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/packaging/quillgate.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/packaging/org.example.quillgate.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES packaging/linux/quillgate.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)

set(theme ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
install(FILES packaging/icons/quillgate.svg DESTINATION ${theme}/scalable/apps)
foreach(size IN ITEMS 16 24 32 48 64 128 256)
  install(FILES packaging/icons/quillgate-${size}.png
          DESTINATION ${theme}/${size}x${size}/apps RENAME quillgate.png)
endforeach()
