# Top-level entry points.  `make run` and `make test` are all a new machine needs.
BUILD      ?= build
SANBUILD   ?= build-sanitize
BENCHBUILD ?= build-bench
JOBS       ?= 2

.PHONY: all deps build run test sanitize bench fuzz clean

all: build

deps:
	@sh scripts/install-deps

build: deps
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release >/dev/null
	@cmake --build $(BUILD) -j $(JOBS)

run: build
	cd examples && ../$(BUILD)/skelda xas_nio.lua
	@echo "The spectrum is in $(CURDIR)/examples/xas_nio.dat,"
	@echo "its picture in $(CURDIR)/examples/xas_nio.svg (any browser) and xas_nio.eps."

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

sanitize: deps
	@cmake -S . -B $(SANBUILD) -DCMAKE_BUILD_TYPE=Debug -DSKELDA_SANITIZE=ON >/dev/null
	@cmake --build $(SANBUILD) -j $(JOBS)
	cd $(SANBUILD) && ctest --output-on-failure -j $(JOBS)

bench: deps
	@cmake -S . -B $(BENCHBUILD) -DCMAKE_BUILD_TYPE=Release -DSKELDA_BENCH=ON >/dev/null
	@cmake --build $(BENCHBUILD) -j $(JOBS)
	@for b in $(BENCHBUILD)/bench/bench_*; do \
	  for t in 1 2; do echo "== $$b, OMP_NUM_THREADS=$$t"; OMP_NUM_THREADS=$$t $$b || exit 1; done; \
	done

fuzz: build
	@cmake -S . -B $(SANBUILD) -DCMAKE_BUILD_TYPE=Debug -DSKELDA_SANITIZE=ON >/dev/null
	@cmake --build $(SANBUILD) -j $(JOBS) --target skelda
	sh tests/fuzz/run.sh $(CURDIR)/$(BUILD)/skelda 1 250000 4
	sh tests/fuzz/run.sh $(CURDIR)/$(SANBUILD)/skelda 101 50000 2

clean:
	rm -rf $(BUILD) $(SANBUILD) $(BENCHBUILD)
