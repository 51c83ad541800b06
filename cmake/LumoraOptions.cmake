# Compiler settings shared by every Lumora target.
add_library(lumora_options INTERFACE)
target_compile_options(lumora_options INTERFACE -Wall -Wextra -Wshadow -Wnon-virtual-dtor)
if(LUMORA_WERROR)
  target_compile_options(lumora_options INTERFACE -Werror)
endif()
# The check convention logs source files by their path below src/.
target_compile_options(lumora_options INTERFACE "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/src/=")
target_compile_definitions(lumora_options INTERFACE
  LUMORA_SOURCE_DATA_DIR="${PROJECT_SOURCE_DIR}/data"
  LUMORA_INSTALL_DATA_DIR="${CMAKE_INSTALL_PREFIX}/share/lumora"
  LUMORA_VERSION="${PROJECT_VERSION}"
  QT_NO_KEYWORDS)

if(LUMORA_SANITIZE)
  set(_san -fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  target_compile_options(lumora_options INTERFACE ${_san})
  target_link_options(lumora_options INTERFACE ${_san})
endif()

# Fuzzing: every library gets libFuzzer's coverage hooks and the sanitizers,
# and only the fuzz targets link libFuzzer's main.
if(LUMORA_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "LUMORA_FUZZ needs clang (libFuzzer); configure with CMAKE_CXX_COMPILER=clang++")
  endif()
  set(_fuzz -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  target_compile_options(lumora_options INTERFACE -fsanitize=fuzzer-no-link ${_fuzz})
  target_link_options(lumora_options INTERFACE ${_fuzz})
  set(LUMORA_FUZZ_SECONDS 5 CACHE STRING "How long each fuzz test runs")
endif()
