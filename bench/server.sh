#!/usr/bin/env bash
# Load on the reference server: wrk on loopback against /cms/content (GET) and /cms/save (form
# POST), 30 s each by default. Prints requests per second, p99 latency and errors for each.
# Needs wrk (Debian package `wrk`, installed by scripts/setup).
#   bench/server.sh [BUILD_DIR] [SECONDS]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/native}
seconds=${2:-30}
server=$build/server/vellmar-server
command -v wrk >/dev/null || { echo "bench/server.sh: wrk is not installed (apt-get install wrk)"; exit 2; }
[ -x "$server" ] || { echo "bench/server.sh: no $server (run make native)"; exit 2; }

work=$(mktemp -d)
mkdir -p "$work/web" "$work/demo"
echo "// stand-in" > "$work/web/vellmar.js"
printf '<param name="CookieValue1" value="{{COOKIE_VALUE}}">\n' > "$work/demo/index.html"

"$server" --host 127.0.0.1 --port 0 --data "$work/data" --web "$work/web" --demo "$work/demo" \
  > "$work/server.log" 2>&1 &
pid=$!
trap 'kill $pid 2>/dev/null; wait $pid 2>/dev/null; rm -rf "$work"' EXIT
for _ in $(seq 50); do grep -q listening "$work/server.log" && break; sleep 0.1; done
port=$(sed -n 's/.*127\.0\.0\.1:\([0-9]*\).*/\1/p' "$work/server.log" | head -1)
base=http://127.0.0.1:$port
session=$(curl -s "$base/" | sed -n 's/.*value="\([0-9a-f]*\)".*/\1/p')

# The body is a typical document of a few kilobytes, posted the way the editor posts it.
cat > "$work/save.lua" <<'LUA'
wrk.method = "POST"
wrk.headers["Content-Type"] = "application/x-www-form-urlencoded"
local p = "%3Cp%3EA%20paragraph%20of%20an%20edited%20document%2C%20saved%20again.%3C%2Fp%3E%0D%0A"
wrk.body = "vmContent=" .. string.rep(p, 40)
LUA
cat > "$work/report.lua" <<'LUA'
done = function(summary, latency, requests)
  local e = summary.errors
  local errors = e.connect + e.read + e.write + e.timeout + e.status
  io.write(string.format("  requests/s %.0f   p99 %.2f ms   errors %d (connect %d, read %d, write %d, timeout %d, status %d)\n",
    summary.requests / (summary.duration / 1e6), latency:percentile(99) / 1000,
    errors, e.connect, e.read, e.write, e.timeout, e.status))
end
LUA
cat "$work/save.lua" "$work/report.lua" > "$work/save-report.lua"

echo "== GET /cms/content (${seconds} s, 4 connections)"
wrk -t2 -c4 -d"${seconds}s" -H "Cookie: vmSession=$session" -s "$work/report.lua" \
  "$base/cms/content?vmContentID=1" | tail -1
echo "== POST /cms/save (${seconds} s, 4 connections; every save a version committed to disk)"
wrk -t2 -c4 -d"${seconds}s" -H "Cookie: vmSession=$session" -s "$work/save-report.lua" \
  "$base/cms/save?vmContentID=1" | tail -1
echo "== versions stored: $(sqlite3 "$work/data/vellmar.db" 'SELECT count(*) FROM versions')"
