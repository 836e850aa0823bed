# Entry points for newcomers and CI. Every target first makes sure the Debian packages the build
# needs are present (installing only what is missing), then configures and builds with CMake.

JOBS         ?= 2
BUILD        ?= build
BUILD_TEST   ?= build-asan
BUILD_BENCH  ?= build-bench
BUILD_FUZZ   ?= build-fuzz
BUILD_COV    ?= build-coverage
FUZZ_SECONDS ?= 60
CMAKE        ?= cmake

PACKAGES := cmake g++ make pkg-config libplist-dev libplist-utils libgtest-dev libbenchmark-dev

.PHONY: all deps build run test bench fuzz memcheck coverage install format clean

all: build

deps:
	@./scripts/install-deps $(PACKAGES)

$(BUILD)/CMakeCache.txt: | deps
	$(CMAKE) -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBKGCOLORS_WERROR=ON

build: deps $(BUILD)/CMakeCache.txt
	$(CMAKE) --build $(BUILD) -j$(JOBS)

run: build
	@./scripts/demo $(BUILD)

test: deps
	$(CMAKE) -S . -B $(BUILD_TEST) -DCMAKE_BUILD_TYPE=Debug -DBKGCOLORS_WERROR=ON -DBKGCOLORS_SANITIZE=ON
	$(CMAKE) --build $(BUILD_TEST) -j$(JOBS)
	cd $(BUILD_TEST) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 UBSAN_OPTIONS=print_stacktrace=1 \
		ctest --output-on-failure -j$(JOBS)

# Benchmarks: every program runs BENCH_REPS times (the report takes medians, since the machine may
# be busy), keeps its JSON in the build folder, and scripts/bench-report sets library and peer side
# by side.
BENCH_PROGRAMS := $(basename $(notdir $(wildcard bench/*.cpp)))
BENCH_REPS     ?= 3

bench: deps
	$(CMAKE) -S . -B $(BUILD_BENCH) -DCMAKE_BUILD_TYPE=Release -DBKGCOLORS_TESTS=OFF -DBKGCOLORS_BENCH=ON
	$(CMAKE) --build $(BUILD_BENCH) -j$(JOBS) --target $(BENCH_PROGRAMS)
	@for b in $(BENCH_PROGRAMS); do \
		echo "$$b"; \
		$(BUILD_BENCH)/bin/$$b --benchmark_repetitions=$(BENCH_REPS) \
			--benchmark_out=$(BUILD_BENCH)/$$b.json --benchmark_out_format=json || exit 1; \
	done
	@echo
	@./scripts/bench-report $(addprefix $(BUILD_BENCH)/,$(addsuffix .json,$(BENCH_PROGRAMS)))

# Fuzzing: every target runs for FUZZ_SECONDS on a scratch copy of its seed corpus, so the corpus in
# the tree only changes when someone copies a finding into it.
FUZZ_TARGETS := $(patsubst fuzz/fuzz_%.cpp,%,$(wildcard fuzz/fuzz_*.cpp))

fuzz: deps
	CXX=clang++ $(CMAKE) -S . -B $(BUILD_FUZZ) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBUILD_SHARED_LIBS=OFF \
		-DBKGCOLORS_TESTS=OFF -DBKGCOLORS_SANITIZE=ON -DBKGCOLORS_FUZZ=ON
	$(CMAKE) --build $(BUILD_FUZZ) -j$(JOBS) --target $(addprefix fuzz_,$(FUZZ_TARGETS))
	@for t in $(FUZZ_TARGETS); do \
		rm -rf $(BUILD_FUZZ)/corpus-$$t && cp -r fuzz/corpus/$$t $(BUILD_FUZZ)/corpus-$$t && \
		echo "fuzz_$$t: $(FUZZ_SECONDS) s" && \
		(cd $(BUILD_FUZZ) && ./fuzz_$$t -max_total_time=$(FUZZ_SECONDS) -print_final_stats=1 corpus-$$t) \
			|| exit 1; \
	done

install: build
	$(CMAKE) --install $(BUILD) --prefix $(or $(PREFIX),/usr/local)

format:
	clang-format -i $$(git ls-files '*.h' '*.cpp')

clean:
	rm -rf $(BUILD) $(BUILD_TEST) $(BUILD_BENCH) $(BUILD_FUZZ) $(BUILD_COV)
