# Warnings are on for every target of the project and must stay clean.
add_compile_options(-Wall -Wextra -Wpedantic)
