# The Windows program: one self-contained file, quillgate.exe, with its debug symbols beside it.
enable_language(RC)

# Hardening, and line tables for the symbol file, go through everything that is linked into it.
target_compile_options(quillgate_settings INTERFACE
                       $<$<COMPILE_LANGUAGE:C,CXX>:-fstack-protector-strong>
                       $<$<AND:$<COMPILE_LANGUAGE:C,CXX>,$<NOT:$<CONFIG:Debug>>>:-g1>)
target_link_options(quillgate_settings INTERFACE -fstack-protector-strong)

# What the file says of itself follows the version of the project.
set(resources ${CMAKE_CURRENT_BINARY_DIR}/resources)
set(icons ${PROJECT_SOURCE_DIR}/packaging/icons)
configure_file(ui/win32/app.rc.in ${resources}/app.rc @ONLY)
configure_file(ui/win32/app.manifest.in ${resources}/app.manifest @ONLY)
set_source_files_properties(${resources}/app.rc PROPERTIES
                            OBJECT_DEPENDS "${resources}/app.manifest;${icons}/quillgate.ico"
                            INCLUDE_DIRECTORIES "${resources};${icons}")

quillgate_sources(sources ui/win32)
add_executable(quillgate WIN32 ${sources} ${resources}/app.rc)
target_link_libraries(quillgate PRIVATE quillgate_ui comctl32 comdlg32 gdi32 user32)
# Loaded anywhere above 4 GiB, nothing executable that is writable.
target_link_options(quillgate PRIVATE -municode
                    -Wl,--dynamicbase,--high-entropy-va,--nxcompat,--image-base=0x140000000)

# The symbols move into quillgate.exe.debug, where debuggers look for them.
add_custom_command(TARGET quillgate POST_BUILD
  COMMAND ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:quillgate> $<TARGET_FILE:quillgate>.debug
  COMMAND ${CMAKE_STRIP} --strip-all $<TARGET_FILE:quillgate>
  COMMAND ${CMAKE_OBJCOPY} --add-gnu-debuglink=$<TARGET_FILE:quillgate>.debug $<TARGET_FILE:quillgate>
  VERBATIM)
