# Installs the build, then builds and runs examples/ and tests/host_program/ against only the installed package,
# as a host's developer would.
#
# cmake -DBUILD_DIR= -DSOURCE_DIR= -DWORK_DIR= -DCXX_COMPILER= -DC_COMPILER= -DGENERATOR= -DCXX_FLAGS= -DPYTHON= -P installed_package.cmake

function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    list(JOIN ARGV " " command)
    message(FATAL_ERROR "${command}\nexit ${status}\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE "${WORK_DIR}")
set(prefix "${WORK_DIR}/prefix")
run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${prefix}")

# Nothing in the installed package may refer to the sources or to the build.
file(GLOB_RECURSE package_files "${prefix}/*.cmake" "${prefix}/*.h")
if(NOT package_files)
  message(FATAL_ERROR "nothing was installed in ${prefix}")
endif()
foreach(file IN LISTS package_files)
  file(READ "${file}" text)
  foreach(folder IN ITEMS "${SOURCE_DIR}/" "${BUILD_DIR}/")
    string(FIND "${text}" "${folder}" position)
    if(NOT position EQUAL -1)
      message(FATAL_ERROR "${file} names ${folder}")
    endif()
  endforeach()
endforeach()

foreach(file IN ITEMS man/man1/zforms.1 man/man1/zforms-fill.1 bash-completion/completions/zforms zsh/site-functions/_zforms
                 fish/vendor_completions.d/zforms.fish)
  if(NOT EXISTS "${prefix}/share/${file}")
    message(FATAL_ERROR "${file} was not installed")
  endif()
endforeach()

# The program is found on PATH, and neither it nor the library contains debugging symbols.
run("${CMAKE_COMMAND}" -E env "PATH=${prefix}/bin:$ENV{PATH}" zforms --version)
find_program(NM nm REQUIRED)
file(GLOB_RECURSE binaries "${prefix}/bin/zforms" "${prefix}/libzforms.so")
foreach(binary IN LISTS binaries)
  run("${NM}" "${binary}")
  if(NOT output MATCHES "no symbols")
    message(FATAL_ERROR "${binary} is not stripped")
  endif()
endforeach()

# Copies of examples/ and tests/host_program/, so that they cannot use other files of the repository.
file(COPY "${SOURCE_DIR}/examples" "${SOURCE_DIR}/tests/host_program" DESTINATION "${WORK_DIR}")
foreach(program IN ITEMS examples host_program)
  run("${CMAKE_COMMAND}" -S "${WORK_DIR}/${program}" -B "${WORK_DIR}/build/${program}" -G "${GENERATOR}"
      "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
      "-DCMAKE_C_COMPILER=${C_COMPILER}" "-DCMAKE_C_FLAGS=${CXX_FLAGS} -Wall -Wextra -Wpedantic -Werror"
      "-DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF")
  run("${CMAKE_COMMAND}" --build "${WORK_DIR}/build/${program}")
endforeach()

# A program in C is built with what pkg-config says, without CMake.
find_program(PKG_CONFIG pkg-config REQUIRED)
file(GLOB_RECURSE pc "${prefix}/zforms.pc")
cmake_path(GET pc PARENT_PATH pc_folder)
run("${CMAKE_COMMAND}" -E env "PKG_CONFIG_PATH=${pc_folder}" "${PKG_CONFIG}" --cflags --libs zforms)
separate_arguments(by_pkg_config UNIX_COMMAND "${output} ${CXX_FLAGS}")
run("${C_COMPILER}" -std=c99 "${WORK_DIR}/examples/c_fill_form.c" ${by_pkg_config} -o "${WORK_DIR}/by_pkg_config")
run("${CMAKE_COMMAND}" -E env "PKG_CONFIG_PATH=${pc_folder}" "${PKG_CONFIG}" --variable=libdir zforms)
string(STRIP "${output}" libdir)
run("${CMAKE_COMMAND}" -E env "LD_LIBRARY_PATH=${libdir}" "${WORK_DIR}/by_pkg_config" "${SOURCE_DIR}/samples/membership_form.pdf"
    "${SOURCE_DIR}/samples/membership_form.xfdf" "${WORK_DIR}/by_pkg_config.pdf")

# The example fills the sample form, reads the saved file, and prints its values.
set(form "${SOURCE_DIR}/samples/membership_form.pdf")
run("${WORK_DIR}/build/host_program/host_program" "${form}")
run("${WORK_DIR}/build/host_program/form_host" "${form}" adherent.nom "Zoé Łoś" "${WORK_DIR}/named.pdf")
run("${prefix}/bin/zforms" export "${WORK_DIR}/named.pdf" --format json)
if(NOT output MATCHES "\"adherent.nom\": \"Zoé Łoś\"")
  message(FATAL_ERROR "form_host did not set the field:\n${output}")
endif()
set(filled "${WORK_DIR}/filled.pdf")
foreach(program IN ITEMS c_fill_form fill_form)
  run("${WORK_DIR}/build/examples/${program}" "${form}" "${SOURCE_DIR}/samples/membership_form.xfdf" "${filled}")
  foreach(line IN ITEMS "adherent.ville = Béziers" "accords.statuts = Oui" "formule = Étudiant")
    string(FIND "\n${output}" "\n${line}\n" position)
    if(position EQUAL -1)
      message(FATAL_ERROR "${program} did not print \"${line}\" but:\n${output}")
    endif()
  endforeach()
endforeach()

# The filled form begins with the original form's bytes.
file(READ "${form}" before HEX)
file(READ "${filled}" after HEX)
string(FIND "${after}" "${before}" position)
string(LENGTH "${before}" length_before)
string(LENGTH "${after}" length_after)
if(NOT position EQUAL 0 OR NOT length_after GREATER length_before)
  message(FATAL_ERROR "${filled} is not ${form} with an update appended")
endif()

# The other examples serve a form, which is submitted twice.
foreach(program IN ITEMS c_form_server form_server)
  run("${PYTHON}" "${SOURCE_DIR}/tests/form_server_example.py" "${WORK_DIR}/build/examples/${program}"
      "${SOURCE_DIR}/samples")
endforeach()

# The program finds its installed data after everything is moved.
file(MAKE_DIRECTORY "${WORK_DIR}/moved")
file(RENAME "${prefix}" "${WORK_DIR}/moved/some where")
run("${PYTHON}" "${SOURCE_DIR}/tests/moved_program.py" "${WORK_DIR}/moved/some where")
