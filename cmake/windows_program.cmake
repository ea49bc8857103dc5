# The Windows program: one self-contained file, quillgate.exe, with its debug symbols beside it.
enable_language(RC)

# Hardening, and line tables for the symbol file, go through everything that is linked into it.
target_compile_options(quillgate_settings INTERFACE
                       $<$<COMPILE_LANGUAGE:C,CXX>:-fstack-protector-strong>
                       $<$<AND:$<COMPILE_LANGUAGE:C,CXX>,$<NOT:$<CONFIG:Debug>>>:-g1>)
target_link_options(quillgate_settings INTERFACE -fstack-protector-strong)
# A release is the same from whichever folder.
target_compile_options(quillgate_settings INTERFACE
                       $<$<AND:$<COMPILE_LANGUAGE:C,CXX>,$<CONFIG:Release>>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=/quillgate>)

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
                    -Wl,--dynamicbase,--high-entropy-va,--nxcompat,--image-base=0x140000000
                    # says what was taken from which library
                    -Wl,-Map=quillgate.map)

# The symbols move into quillgate.exe.debug, where debuggers look for them. The tools would write the
# time into the file unless they preserve dates.
set(file $<TARGET_FILE:quillgate>)
add_custom_command(TARGET quillgate POST_BUILD
  COMMAND ${CMAKE_OBJCOPY} --preserve-dates --only-keep-debug ${file} ${file}.debug
  COMMAND ${CMAKE_STRIP} --preserve-dates --strip-all ${file}
  COMMAND ${CMAKE_OBJCOPY} --preserve-dates --add-gnu-debuglink=${file}.debug ${file}
  VERBATIM)
