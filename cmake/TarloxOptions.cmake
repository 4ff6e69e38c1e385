# One place for the language level, warnings and Qt defines of every target.
add_library(tarlox_options INTERFACE)
target_compile_features(tarlox_options INTERFACE cxx_std_20)
target_compile_options(tarlox_options INTERFACE -Wall -Wextra -Wno-missing-field-initializers)
if(TARLOX_WERROR)
  target_compile_options(tarlox_options INTERFACE -Werror)
endif()
target_compile_definitions(tarlox_options INTERFACE
  QT_NO_CAST_TO_ASCII
  QT_NO_URL_CAST_FROM_STRING
  QT_NO_FOREACH
  QT_USE_QSTRINGBUILDER
  TARLOX_VERSION_MAJOR=${PROJECT_VERSION_MAJOR}
  TARLOX_VERSION_MINOR=${PROJECT_VERSION_MINOR}
  TARLOX_VERSION_PATCH=${PROJECT_VERSION_PATCH})
