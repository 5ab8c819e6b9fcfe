# Assembles the page that shows forms in a browser: our files, and the files of pdf.js that it loads.
#
# cmake -DREADER_DIR= -DPDFJS_DIR= -DOUTPUT_DIR= -P assemble_reader.cmake
#
# PDFJS_DIR is the package pdfjs-dist. Without it the page has only the style sheet for the list of forms, and cannot
# show forms.

file(REMOVE_RECURSE "${OUTPUT_DIR}")
file(GLOB own "${READER_DIR}/*.html" "${READER_DIR}/*.css" "${READER_DIR}/*.js" "${READER_DIR}/*.svg"
     "${READER_DIR}/*.txt")
file(COPY ${own} DESTINATION "${OUTPUT_DIR}")

if(EXISTS "${PDFJS_DIR}/package.json")
  set(pdfjs "${OUTPUT_DIR}/pdfjs")
  # The build for older browsers.
  file(COPY "${PDFJS_DIR}/legacy/build/pdf.min.mjs" "${PDFJS_DIR}/legacy/build/pdf.worker.min.mjs"
            "${PDFJS_DIR}/legacy/build/pdf.sandbox.min.mjs"
            "${PDFJS_DIR}/cmaps" "${PDFJS_DIR}/standard_fonts" DESTINATION "${pdfjs}")
  # The interpreter for scripts of forms is WebAssembly. The decoders of images are copied as JavaScript, which also works
  # where WebAssembly is switched off.
  file(GLOB scripts "${PDFJS_DIR}/wasm/*_nowasm_fallback.js" "${PDFJS_DIR}/wasm/quickjs-eval.*" "${PDFJS_DIR}/wasm/LICENSE*")
  file(COPY ${scripts} DESTINATION "${pdfjs}/wasm")
  configure_file("${PDFJS_DIR}/LICENSE" "${pdfjs}/LICENSE.txt" COPYONLY)
endif()
