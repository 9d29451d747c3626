# Makes the files the page loads from the whole module the link wrote (WHOLE): DIST/vellmar.js,
# shortened by terser, and the module split by wasm-split into DIST/vellmar.wasm (the functions
# named in KEEP) and DIST/vellmar.later.wasm (the rest).
set(features --enable-exception-handling --enable-sign-ext --enable-mutable-globals
             --enable-bulk-memory --enable-nontrapping-float-to-int)
execute_process(
  COMMAND ${WASM_SPLIT} --split ${features} --keep-funcs=@${KEEP} ${WHOLE}/vellmar.wasm
          -o1 ${DIST}/vellmar.wasm -o2 ${DIST}/vellmar.later.wasm --quiet
  RESULT_VARIABLE split_status ERROR_VARIABLE split_errors)
if(NOT split_status EQUAL 0)
  message(FATAL_ERROR "wasm-split failed:\n${split_errors}")
endif()
execute_process(
  COMMAND ${NODE} ${TERSER} ${WHOLE}/vellmar.js --compress --mangle --ecma 2020
          --output ${DIST}/vellmar.js
  RESULT_VARIABLE terser_status)
if(NOT terser_status EQUAL 0)
  message(FATAL_ERROR "terser failed on ${WHOLE}/vellmar.js")
endif()
