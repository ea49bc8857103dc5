# The Linux program, and what a desktop needs to show it, where the base directories of desktops and
# the GNU standards have it.
include(GNUInstallDirs)
find_package(Qt6 6.4 REQUIRED COMPONENTS Widgets)

quillgate_sources(sources ui/qt)
add_executable(quillgate ${sources})
target_link_libraries(quillgate PRIVATE quillgate_ui Qt6::Widgets)
install(TARGETS quillgate)

# By which software centres know it. Ids begin with a domain: the project has none, and this one is
# nobody's.
set(id org.example.quillgate)

set(made ${CMAKE_CURRENT_BINARY_DIR}/packaging)
configure_file(packaging/linux/quillgate.1.in ${made}/quillgate.1 @ONLY)
configure_file(packaging/linux/quillgate.metainfo.xml.in ${made}/${id}.metainfo.xml @ONLY)
install(FILES ${made}/quillgate.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${made}/${id}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES packaging/linux/quillgate.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)

set(theme ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
install(FILES packaging/icons/quillgate.svg DESTINATION ${theme}/scalable/apps)
foreach(size IN ITEMS 16 24 32 48 64 128 256)
  install(FILES packaging/icons/quillgate-${size}.png
          DESTINATION ${theme}/${size}x${size}/apps RENAME quillgate.png)
endforeach()
