# Compiler settings shared by every Lumora target.
add_library(lumora_options INTERFACE)
target_compile_options(lumora_options INTERFACE -Wall -Wextra)
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
