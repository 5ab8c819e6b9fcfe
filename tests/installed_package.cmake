# Installs the build, then builds and runs examples/ against the installed package alone, as a host's
# developer would.
#
# cmake -DBUILD_DIR= -DSOURCE_DIR= -DWORK_DIR= -DCXX_COMPILER= -DGENERATOR= -DCXX_FLAGS= -P installed_package.cmake

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

# Nothing in the installed package may lead back to the sources or to the build.
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

# A copy of examples/, so that nothing of the repository is found beside it.
file(COPY "${SOURCE_DIR}/examples" DESTINATION "${WORK_DIR}")
run("${CMAKE_COMMAND}" -S "${WORK_DIR}/examples" -B "${WORK_DIR}/build" -G "${GENERATOR}"
    "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
    "-DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF")
run("${CMAKE_COMMAND}" --build "${WORK_DIR}/build")

# The example fills the sample form and reads back what it saved.
set(samples "${SOURCE_DIR}/samples")
run("${WORK_DIR}/build/fill_form" "${samples}/membership_form.pdf" "${samples}/membership_form.xfdf"
    "${WORK_DIR}/filled.pdf")
message("${output}")
