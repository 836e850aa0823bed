# Entry points for newcomers and CI. Every target first makes sure the Debian packages the build
# needs are present (installing only what is missing), then configures and builds with CMake.

JOBS         ?= 2
BUILD        ?= build
BUILD_TEST   ?= build-asan
BUILD_BENCH  ?= build-bench
BUILD_FUZZ   ?= build-fuzz
BUILD_COV    ?= build-coverage
BUILD_MEMCHECK ?= build-memcheck
BUILD_32     ?= build-32
BUILD_BE     ?= build-be
BUILD_DEB    ?= build-deb
FUZZ_SECONDS ?= 60
FUZZ_SMOKE_SECONDS ?= 3
CMAKE        ?= cmake

PACKAGES := cmake g++ make pkg-config libexpat1-dev libplist-utils libgtest-dev libbenchmark-dev \
	libgtk-4-dev libxtst-dev xvfb xauth xdotool desktop-file-utils clang-format python3 gettext locales \
	dbus at-spi2-core python3-gi gir1.2-atspi-2.0 doxygen

.PHONY: all deps build run test test32 test-be bench bench-chart fuzz memcheck coverage mutate install format \
	clean docs package test-package

all: build

deps:
	@./scripts/install-deps $(PACKAGES)

$(BUILD)/CMakeCache.txt: | deps
	$(CMAKE) -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBKGCOLORS_WERROR=ON -DBKGCOLORS_TESTS=OFF \
		-DBKGCOLORS_DOCS=ON

build: deps $(BUILD)/CMakeCache.txt
	$(CMAKE) --build $(BUILD) -j$(JOBS)

run: build
	@./scripts/demo $(BUILD)

test: deps
	$(CMAKE) -S . -B $(BUILD_TEST) -DCMAKE_BUILD_TYPE=Debug -DBKGCOLORS_WERROR=ON -DBKGCOLORS_SANITIZE=ON
	$(CMAKE) --build $(BUILD_TEST) -j$(JOBS)
	cd $(BUILD_TEST) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 UBSAN_OPTIONS=print_stacktrace=1 \
		ctest --output-on-failure -j$(JOBS)
	@if ./scripts/have-fuzzer; then \
		$(MAKE) --no-print-directory fuzz FUZZ_SECONDS=$(FUZZ_SMOKE_SECONDS); \
	else \
		echo "fuzz smoke pass skipped: clang++ with the libFuzzer runtime (libclang-rt-14-dev) is not installed"; \
	fi

# The same tests at 32 bits (i386 multiarch; natively, or under qemu-i386 where the kernel runs no
# 32-bit programs) and on a big-endian host (s390x, cross
# built and run under qemu-user). The big-endian build has no expat, so it builds and tests the
# base library only (BKGCOLORS_PLATFORM=OFF); the window is left out of both.
PACKAGES_32 := g++-multilib libgtest-dev:i386
# Unpacked privately rather than installed (see scripts/unpack-i386).
UNPACKED_32 := libexpat1 libexpat1-dev
PACKAGES_BE := g++-s390x-linux-gnu qemu-user googletest

test32:
	@./scripts/add-architecture i386
	@./scripts/install-deps $(PACKAGES) $(PACKAGES_32)
	@./scripts/unpack-i386 $(BUILD_32)/i386 $(UNPACKED_32)
	@./scripts/enable-i386
	$(CMAKE) -S . -B $(BUILD_32) -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/i686-linux-gnu.cmake \
		-DBKGCOLORS_I386_ROOT=$(CURDIR)/$(BUILD_32)/i386 \
		-DCMAKE_BUILD_TYPE=Debug -DBKGCOLORS_WERROR=ON -DBKGCOLORS_GTK=OFF
	$(CMAKE) --build $(BUILD_32) -j$(JOBS)
	cd $(BUILD_32) && ctest --output-on-failure -j$(JOBS)

test-be:
	@./scripts/install-deps cmake make $(PACKAGES_BE)
	$(CMAKE) -S . -B $(BUILD_BE) -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/s390x-linux-gnu.cmake \
		-DCMAKE_BUILD_TYPE=Debug -DBKGCOLORS_WERROR=ON -DBKGCOLORS_PLATFORM=OFF -DBKGCOLORS_GTK=OFF \
		-DBKGCOLORS_GTEST_SOURCE_DIR=/usr/src/googletest
	$(CMAKE) --build $(BUILD_BE) -j$(JOBS)
	cd $(BUILD_BE) && ctest --output-on-failure -j$(JOBS)

# Benchmarks: every program runs BENCH_REPS times (the report takes each side's fastest run, since
# the machine may be busy), keeps its JSON in the build folder, and scripts/bench-report prints
# every pair's ratio against its goal and writes them to $(BUILD)/bench/ratios.csv; bench-chart
# draws that file with gnuplot.
BENCH_PROGRAMS := $(basename $(notdir $(wildcard bench/*.cpp)))
BENCH_REPS     ?= 3
BENCH_CSV      := $(BUILD)/bench/ratios.csv
BENCH_PACKAGES := gnuplot-nox time

bench: deps
	@./scripts/install-deps $(BENCH_PACKAGES)
	$(CMAKE) -S . -B $(BUILD_BENCH) -DCMAKE_BUILD_TYPE=Release -DBKGCOLORS_TESTS=OFF -DBKGCOLORS_BENCH=ON
	$(CMAKE) --build $(BUILD_BENCH) -j$(JOBS) --target $(BENCH_PROGRAMS) bkgcolors-defaults
	@for b in $(BENCH_PROGRAMS); do \
		echo "$$b"; \
		$(BUILD_BENCH)/bin/$$b --benchmark_repetitions=$(BENCH_REPS) \
			--benchmark_out=$(BUILD_BENCH)/$$b.json --benchmark_out_format=json || exit 1; \
	done
	@echo store_bench
	@python3 bench/store_bench.py --bin $(BUILD_BENCH)/bin --reps $(BENCH_REPS) \
		--out $(BUILD_BENCH)/store_bench.json
	@echo
	@./scripts/bench-report --csv $(BENCH_CSV) \
		$(addprefix $(BUILD_BENCH)/,$(addsuffix .json,$(BENCH_PROGRAMS) store_bench))

# The chart of the last `make bench`: each pair's ratio beside its goal.
bench-chart:
	@./scripts/install-deps $(BENCH_PACKAGES)
	@test -f $(BENCH_CSV) || { echo "no $(BENCH_CSV): run make bench first"; exit 1; }
	./scripts/bench-chart $(BENCH_CSV) $(BUILD)/bench/ratios.png

# Fuzzing: every target runs for FUZZ_SECONDS on a scratch copy of its seed corpus, so the corpus in
# the tree only changes when someone copies a finding into it. A target with a dictionary
# (fuzz/<what>.dict) gets it. A fuzz binary given files instead of a folder runs exactly those
# inputs once: build-fuzz/fuzz_<what> crash-file reproduces a finding.
FUZZ_TARGETS := $(patsubst fuzz/fuzz_%.cpp,%,$(wildcard fuzz/fuzz_*.cpp))

fuzz: deps
	CXX=clang++ $(CMAKE) -S . -B $(BUILD_FUZZ) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBUILD_SHARED_LIBS=OFF \
		-DBKGCOLORS_TESTS=OFF -DBKGCOLORS_SANITIZE=ON -DBKGCOLORS_FUZZ=ON
	$(CMAKE) --build $(BUILD_FUZZ) -j$(JOBS) --target $(addprefix fuzz_,$(FUZZ_TARGETS))
	@for t in $(FUZZ_TARGETS); do \
		dict=""; [ -f fuzz/$$t.dict ] && dict="-dict=$(CURDIR)/fuzz/$$t.dict"; \
		rm -rf $(BUILD_FUZZ)/corpus-$$t && cp -r fuzz/corpus/$$t $(BUILD_FUZZ)/corpus-$$t && \
		echo "fuzz_$$t: $(FUZZ_SECONDS) s" && \
		(cd $(BUILD_FUZZ) && ./fuzz_$$t -max_total_time=$(FUZZ_SECONDS) -print_final_stats=1 \
			$$dict corpus-$$t) || exit 1; \
	done

# Leak check: a plain Debug build (no sanitizers) of the unit tests, each program run under
# valgrind. Children forked by death tests and store tests run silently (they stop without
# cleaning up); programs the tests start are not traced. No test depends on pace, so all run.
MEMCHECK_PROGRAMS := test_base test_platform test_prefs test_pane test_tools
MEMCHECK_FILTER   := *
VALGRIND := valgrind --tool=memcheck --leak-check=full --errors-for-leak-kinds=definite \
	--error-exitcode=1 --trace-children=no --child-silent-after-fork=yes --quiet

memcheck: deps
	@./scripts/install-deps valgrind
	$(CMAKE) -S . -B $(BUILD_MEMCHECK) -DCMAKE_BUILD_TYPE=Debug -DBKGCOLORS_WERROR=ON
	$(CMAKE) --build $(BUILD_MEMCHECK) -j$(JOBS)
	@for p in $(MEMCHECK_PROGRAMS); do \
		echo "valgrind $$p"; \
		BKGCOLORS_BIN=$(CURDIR)/$(BUILD_MEMCHECK)/bin \
		BKGCOLORS_PLUGIN=$(CURDIR)/$(BUILD_MEMCHECK)/lib/bkgcolors/bkgcolors-pane.so \
			$(VALGRIND) $(BUILD_MEMCHECK)/bin/$$p --gtest_brief=1 --gtest_filter='$(MEMCHECK_FILTER)' \
			|| exit 1; \
	done

# Coverage: an instrumented build, the whole test suite, then line and branch figures per folder.
coverage: deps
	@./scripts/install-deps gcovr
	$(CMAKE) -S . -B $(BUILD_COV) -DCMAKE_BUILD_TYPE=Debug -DBKGCOLORS_COVERAGE=ON
	$(CMAKE) --build $(BUILD_COV) -j$(JOBS)
	find $(BUILD_COV) -name '*.gcda' -delete
	cd $(BUILD_COV) && ctest -j$(JOBS) --output-on-failure
	gcovr -r . --object-directory $(BUILD_COV) --filter '(base|prefs|platform|pane|tools)/' \
		--exclude-throw-branches --csv $(BUILD_COV)/coverage.csv
	@./scripts/coverage-summary $(BUILD_COV)/coverage.csv

# The libraries' reference (Doxygen, from the installed headers) in $(BUILD)/docs/html; every
# build of $(BUILD) makes it too, so that `make install` installs what the packages do.
docs: deps $(BUILD)/CMakeCache.txt
	$(CMAKE) -S . -B $(BUILD) -DBKGCOLORS_DOCS=ON
	$(CMAKE) --build $(BUILD) --target docs

# Debian packages, built with debhelper from a copy of the tree in $(BUILD_DEB)/src, with lintian's
# verdict; test-package unpacks and runs them and compares their files with `make install`'s.
PACKAGES_DEB := debhelper dpkg-dev fakeroot lintian appstream man-db

package: deps
	@./scripts/install-deps $(PACKAGES_DEB)
	JOBS=$(JOBS) ./scripts/make-package $(BUILD_DEB)

test-package: package
	./tests/package/check $(BUILD_DEB)

# Mutation testing: small faults (a comparison flipped, a condition negated, a constant moved by
# one, a statement deleted) planted one at a time in a clean clone of the last commit, each built
# with Ninja and ccache and tested by its folder's tests; the report lists the faults no test
# caught. The harness lives beside the project; MUTATE_TOOL names it.
BUILD_MUT      ?= build-mutate
MUTANTS        ?= 40
MUTATE_SEED    ?= 1
MUTATE_FOLDERS ?= base,platform,prefs,pane,tools
MUTATE_TOOL    ?= ../shared/tools/mutate.py

mutate: deps
	@./scripts/install-deps ninja-build ccache
	@test -f $(MUTATE_TOOL) || { echo "no mutation harness at $(MUTATE_TOOL): set MUTATE_TOOL"; exit 2; }
	rm -rf $(BUILD_MUT) && git clone -q . $(BUILD_MUT)/src
	python3 $(MUTATE_TOOL) --src $(BUILD_MUT)/src --n $(MUTANTS) --seed $(MUTATE_SEED) \
		--folders $(MUTATE_FOLDERS) --report $(CURDIR)/$(BUILD_MUT)/report.txt \
		--results $(CURDIR)/$(BUILD_MUT)/results.jsonl

install: build
	$(CMAKE) --install $(BUILD) --prefix $(or $(PREFIX),/usr/local)

format: deps
	clang-format -i $$(git ls-files '*.h' '*.cpp')

clean:
	rm -rf $(BUILD) $(BUILD_TEST) $(BUILD_BENCH) $(BUILD_FUZZ) $(BUILD_COV) $(BUILD_MEMCHECK) $(BUILD_32) \
		$(BUILD_BE) $(BUILD_MUT) $(BUILD_DEB)
