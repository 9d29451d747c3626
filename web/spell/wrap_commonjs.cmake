# Makes one ES module of a CommonJS package and its dependencies, so that a page can import it
# without a bundler: each file becomes a function of (module, exports, require) under its path,
# and require() resolves relative paths between them. Run with cmake -P:
#   -DOUTPUT=file.js -DENTRY=id -DMODULES=id=path|id=path|...
# An id is "package/lib/file.js" for a package's own files, the bare package name for a dependency.
set(text "// Generated from node_modules at build time; see web/spell/wrap_commonjs.cmake.\n")
string(APPEND text "const definitions = Object.create(null);\n")
string(REPLACE "|" ";" MODULES "${MODULES}")
foreach(pair ${MODULES})
  string(FIND "${pair}" "=" at)
  string(SUBSTRING "${pair}" 0 ${at} id)
  math(EXPR from "${at} + 1")
  string(SUBSTRING "${pair}" ${from} -1 path)
  file(READ "${path}" source)
  string(APPEND text "definitions['${id}'] = function (module, exports, require) {\n${source}\n};\n")
endforeach()
string(APPEND text [=[
const loaded = Object.create(null);
function resolve(from, request) {
  if (!request.startsWith('.')) return request;
  const parts = from.split('/');
  parts.pop();
  for (const part of request.split('/')) {
    if (part === '..') parts.pop();
    else if (part !== '.') parts.push(part);
  }
  return parts.join('/');
}
function load(id) {
  if (loaded[id]) return loaded[id].exports;
  if (!definitions[id]) throw new Error('module not bundled: ' + id);
  const module = { exports: {} };
  loaded[id] = module;
  definitions[id].call(module.exports, module, module.exports, (request) => load(resolve(id, request)));
  return module.exports;
}
]=])
string(APPEND text "export default load('${ENTRY}');\n")
file(WRITE "${OUTPUT}" "${text}")
