# Makes the files the page loads from the whole module the link wrote (WHOLE): DIST/vellmar.js,
# shortened by terser, and the module split by wasm-split into DIST/vellmar.wasm (the functions
# named in KEEP) and DIST/vellmar.later.wasm (the rest).
# The WebAssembly features the link uses, which binaryen has to be told (one per line; the
# start-up recorder reads the same file).
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/wasm_features.txt features)
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
