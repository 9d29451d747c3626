# Vellmar 2: `make demo` runs the editor on the reference server, `make test` runs every test.
# Both install what is missing first (scripts/setup).

SHELL := /bin/bash
export NODE_PATH := /usr/share/nodejs

JOBS ?= $(shell nproc)
PORT ?= 8080
HOST ?= 127.0.0.1
DATA ?= data
FUZZ_SECONDS ?= 30

NATIVE := build/native
WEB := build/web
FUZZ := build/fuzz

.PHONY: all setup build native web test test-native test-browser demo fuzz bench mutate clean

all: build

setup:
	@scripts/setup

build: setup native web

native:
	@cmake -S . -B $(NATIVE) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	@cmake --build $(NATIVE) -j $(JOBS)

web:
	@emcmake cmake -S . -B $(WEB) -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
	@cmake --build $(WEB) -j $(JOBS)
	@# What a page downloads before the editor shows, as served and as gzip sends it.
	@for f in $(WEB)/dist/vellmar.js $(WEB)/dist/vellmar.wasm $(WEB)/dist/vellmar.css; do \
	  printf '%-32s %8d bytes, gzip %7d\n' "$$f" "$$(wc -c <$$f)" "$$(gzip -9c $$f | wc -c)"; done
	@# Loaded once the editor is shown.
	@f=$(WEB)/dist/vellmar.later.wasm; \
	  printf '%-32s %8d bytes, gzip %7d (after)\n' "$$f" "$$(wc -c <$$f)" "$$(gzip -9c $$f | wc -c)"

test: build
	@$(MAKE) --no-print-directory test-native test-browser

test-native:
	@ctest --test-dir $(NATIVE) --output-on-failure -j $(JOBS)

test-browser:
	@node --test --test-concurrency=2 tests/browser/

demo: build
	@echo "Demo page: http://$(HOST):$(PORT)/  (Ctrl-C stops the server)"
	@$(NATIVE)/server/vellmar-server --host $(HOST) --port $(PORT) --data $(DATA)

fuzz: setup
	@CXX=clang++ cmake -S . -B $(FUZZ) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELLMAR_FUZZ=ON >/dev/null
	@cmake --build $(FUZZ) -j $(JOBS) --target fuzz_all
	@# Each fuzzer's own exit status decides (no pipe hides it); a finding shows the end of its
	@# report and leaves the input under $(FUZZ)/crashes/.
	@set -e -o pipefail; mkdir -p $(FUZZ)/crashes; for f in $(FUZZ)/tests/fuzz/fuzz_*; do \
	  name=$$(basename $$f); echo "== $$f ($(FUZZ_SECONDS) s)"; mkdir -p $(FUZZ)/corpus/$$name; \
	  if ! $$f -max_total_time=$(FUZZ_SECONDS) -print_final_stats=1 -artifact_prefix=$(FUZZ)/crashes/ \
	      $(FUZZ)/corpus/$$name >$(FUZZ)/$$name.log 2>&1; then \
	    tail -40 $(FUZZ)/$$name.log; echo "$$name FAILED (full report: $(FUZZ)/$$name.log)"; exit 1; \
	  fi; \
	  tail -4 $(FUZZ)/$$name.log; \
	done

bench: build
	@cmake --build $(WEB) --target bench_html_cleanup
	@for b in $(NATIVE)/bench/bench_*; do echo "== $$b"; $$b; done
	@echo "== $(WEB)/bench/bench_html_cleanup.js (the browser build, under node)"
	@node $(WEB)/bench/bench_html_cleanup.js
	@echo "== bench/startup.js (start-up, bytes, serialization and memory beside a bare design-mode frame)"
	@node bench/startup.js

# One-line faults of bench/mutations.txt put into a copy of the sources one at a time; prints the
# share the native tests catch, per folder. The working tree is left alone.
mutate: setup
	@JOBS=$(JOBS) bench/mutate.sh

clean:
	rm -rf build
