# The Python package's native module (python/), on when pybind11 is found
# for the Python it is built for: CODEBOOK_PYTHON_EXECUTABLE, else the
# system's (whose packages come from Debian), else the first on the path.
if(NOT CODEBOOK_PYTHON_EXECUTABLE)
  find_program(CODEBOOK_PYTHON_EXECUTABLE NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH)
  find_program(CODEBOOK_PYTHON_EXECUTABLE NAMES python3)
endif()
execute_process(COMMAND ${CODEBOOK_PYTHON_EXECUTABLE} -c "import pybind11"
                RESULT_VARIABLE CODEBOOK_NO_PYBIND11 OUTPUT_QUIET ERROR_QUIET)
if(CODEBOOK_NO_PYBIND11)
  set(CODEBOOK_PYBIND11_FOUND OFF)
else()
  set(CODEBOOK_PYBIND11_FOUND ON)
endif()
# Off under the sanitizers by default: an instrumented module loads into
# an uninstrumented interpreter only with the sanitizer's runtime preloaded.
if(CODEBOOK_SANITIZE OR CODEBOOK_SANITIZE_THREAD OR CODEBOOK_FUZZ)
  set(CODEBOOK_PYBIND11_FOUND OFF)
endif()
option(CODEBOOK_PYTHON "Build the Python package's native module" ${CODEBOOK_PYBIND11_FOUND})
if(CODEBOOK_PYTHON)
  add_subdirectory(${PROJECT_SOURCE_DIR}/python ${PROJECT_BINARY_DIR}/python-module)
endif()
