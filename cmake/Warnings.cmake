# Warnings are on for every target of the project and must stay clean; CI
# builds with CODEBOOK_WERROR so that a new one fails the build.
option(CODEBOOK_WERROR "Treat compiler warnings as errors" OFF)
add_compile_options(-Wall -Wextra -Wpedantic)
if(CODEBOOK_WERROR)
  add_compile_options(-Werror)
endif()
