# One interface target that carries the compiler settings of every target of ours.
add_library(quillgate_settings INTERFACE)
target_include_directories(quillgate_settings INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_features(quillgate_settings INTERFACE cxx_std_20)
target_compile_options(quillgate_settings INTERFACE -Wall -Wextra -Wshadow -Wconversion -Werror)

if(WIN32)
  # Windows 10 is the oldest system the manifest names.
  target_compile_definitions(quillgate_settings INTERFACE UNICODE _UNICODE WIN32_LEAN_AND_MEAN
                             NOMINMAX _WIN32_WINNT=0x0A00 WINVER=0x0A00)
  # The time of the build is in no program.
  target_link_options(quillgate_settings INTERFACE -static -Wl,--no-insert-timestamp)
endif()

set(QUILLGATE_INSTRUMENT "" CACHE STRING "Instrumentation: asan, tsan, coverage or none")
if(QUILLGATE_INSTRUMENT STREQUAL "asan")
  # libFuzzer and the leak sanitizer come with it. To look at an object's type, the check "vptr" makes
  # a pipe first: where a test has used up all descriptors, it takes every object for a wrong one.
  add_compile_options(-fsanitize=address,undefined -fno-sanitize=vptr -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(QUILLGATE_INSTRUMENT STREQUAL "tsan")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
elseif(QUILLGATE_INSTRUMENT STREQUAL "coverage")
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()
