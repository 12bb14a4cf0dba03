# The common commands. CMakePresets.json holds the build configurations.

SAMPLE ?= build/sample
HOME_OF_SAMPLE = /Users/ann
QUARN = build/dev/bin/quarn

.PHONY: help packages test-packages macos-packages build demo test check tidy format bench bench-check bench-save recall fuzz corpora hostile test-confined soak soak-tsan pages picture \
        deb asan tsan macos macos-loader macos-test macos-test-platform macos-package clean

help:
	@echo "make demo   build, write a sample Mac volume, inspect an app on it"
	@echo "make test   build and run every test"
	@echo "make check  check formatting and include edges, run clang-tidy"
	@echo "make tidy   run clang-tidy on the files that changed since the last run"
	@echo "make bench  compare with the bare system calls and other tools"
	@echo "make bench-check  name what became slower than in the committed run; bench-save commits a new one"
	@echo "make recall measure how many files of real apps are found (RECALL_APPS=FILE)"
	@echo "make fuzz   fuzz every reader of outside bytes for FUZZ_SECONDS (default 60)"
	@echo "make corpora  run every fuzz target once on its seeds (make test does it too)"
	@echo "make hostile  attack the command with the hostile volume and print a table"
	@echo "make test-confined  run the tests where the system gives less: calls, rights, descriptors, memory"
	@echo "make soak   send 50,000 requests to one quarn rpc; soak-tsan: 2,000 under the thread sanitizer"
	@echo "make pages  regenerate the program output in the documentation"
	@echo "make deb    build the Debian packages in build/package"
	@echo "make macos  build the command for macOS, arm64 and x86_64, in build/macos; see docs/macos.md"
	@echo "make macos-test     run the tests and every command of the x86_64 build in a loader"
	@echo "make macos-package  build an archive for macOS and a Homebrew formula in build/macos/package"

packages:
	@cmake/install-packages.sh

test-packages:
	@cmake/install-packages.sh test

macos-packages:
	@cmake/install-packages.sh macos

build: packages
	cmake --preset release
	cmake --build --preset release

# A first build compiles libraries and tests in batches, which halves its time. A build that is configured keeps its setting.
CONFIGURE_DEV = cmake --preset dev $(if $(wildcard build/dev/CMakeCache.txt),,-DQUARN_UNITY=ON)

demo: packages
	$(CONFIGURE_DEV)
	cmake --build --preset dev --target quarn quarn_resources
	rm -rf $(SAMPLE)
	$(QUARN) sample $(SAMPLE)
	$(QUARN) --volume $(SAMPLE) --home $(HOME_OF_SAMPLE) apps
	$(QUARN) --volume $(SAMPLE) --home $(HOME_OF_SAMPLE) inspect "Lumen Notes"
	$(QUARN) --volume $(SAMPLE) --home $(HOME_OF_SAMPLE) plan "Lumen Notes"
	$(QUARN) --volume $(SAMPLE) --home $(HOME_OF_SAMPLE) report "Lumen Notes" -o build/report.html

# One test more at a time than there are processors: many tests wait for a program or a limit of time.
TEST_JOBS ?= $(shell expr $$(nproc) + 1)
test: test-packages
	$(CONFIGURE_DEV)
	cmake --build --preset dev
	ctest --preset dev -j $(TEST_JOBS)

check: packages
	cmake/check-format.sh
	cmake/check-tidy.sh build/tidy
	cmake/check-edges.sh

tidy: packages
	cmake/check-tidy.sh build/tidy

format:
	cmake/check-format.sh --fix

BENCH_GROUPS ?= walk apps allapps
bench: build
	benchmarks/run.sh build/release/bin/quarn $(BENCH)

# By hand before a release: what became slower than in the committed run, as ratios to the floor.
bench-check: build
	benchmarks/run.sh build/release/bin/quarn --groups $(BENCH_GROUPS) --check benchmarks/ratios.json

bench-save: build
	benchmarks/run.sh build/release/bin/quarn --groups $(BENCH_GROUPS) --save benchmarks/ratios.json

RECALL_APPS ?= benchmarks/recall/apps.tsv
recall: packages
	cmake --preset release
	cmake --build --preset release --target recall
	build/release/bin/recall $(RECALL_APPS)

FUZZ_SECONDS ?= 60
fuzz: packages
	cmake --preset fuzz
	cmake --build --preset fuzz --target fuzz_targets
	tests/fuzz/run.sh build/fuzz $(FUZZ_SECONDS)

corpora: test-packages
	cmake --preset dev
	cmake --build --preset dev --target corpora_tests
	build/dev/bin/corpora_tests --gtest_brief=1

RACE_SECONDS ?= 30
hostile: test-packages
	cmake --preset dev
	cmake --build --preset dev --target quarn quarn_resources quarn_faults
	python3 tests/hostile/run.py --quarn $(QUARN) --shim build/dev/tests/libquarn_faults.so --folder build/hostile \
	  --seconds $(RACE_SECONDS)

# Fifty thousand mixed requests to one process, and two thousand under the thread sanitizer.
soak: test-packages
	cmake --preset release
	cmake --build --preset release --target quarn quarn_resources
	rm -rf build/soak
	build/release/bin/quarn sample build/soak > /dev/null
	tests/soak/soak.py --quarn build/release/bin/quarn --volume build/soak --requests 50000

soak-tsan: test-packages
	cmake --preset tsan -DQUARN_UNITY=ON
	cmake --build --preset tsan --target quarn quarn_resources
	rm -rf build/soak-tsan
	build/tsan/bin/quarn sample build/soak-tsan > /dev/null
	tests/soak/soak.py --quarn build/tsan/bin/quarn --volume build/soak-tsan --requests 2000 --no-memory

# The tests without openat2, as an ordinary user, with 20 descriptors, and in 256 MiB of memory.
test-confined: test-packages
	cmake --preset dev
	cmake --build --preset dev
	python3 tests/confined/run.py --build build/dev $(CONFINED)

# Regenerates the pages that are made from tables, and the output of the commands in all pages.
pages: packages
	cmake --preset dev
	cmake --build --preset dev --target quarn_tests_program quarn_manual
	QUARN_UPDATE_GOLDEN=1 build/dev/bin/quarn_tests_program --gtest_filter='CommandPages.*:BrowseOnTerminal.TheTutorial*:RPCPage.HoldsTheTables*:Contract.*:RPC/Golden.*'
	python3 tests/installation/install.py build/dev build/dev/installed/moved build/dev/installed/mac
	for page in README.md docs/tutorial.md docs/rpc.md docs/embedding.md docs/commands/README.md; do \
	  python3 tests/documentation/run_page.py --prefix build/dev/installed/moved --update $$page || exit 1; done

# Regenerates the picture of a report in README.md.
picture: test-packages
	cmake --preset dev
	cmake --build --preset dev --target quarn
	docs/picture.sh

deb: packages
	cmake --preset package
	cmake --build --preset package
	cpack --config build/package/CPackConfig.cmake -B build/package

macos: macos-packages
	cmake/macos/dependencies.sh arm64 x86_64
	for architecture in arm64 x86_64; do \
	  cmake --preset macos-$$architecture && \
	  cmake --build --preset macos-$$architecture --target quarn quarn_resources || exit 1; done
	cmake/macos/universal.sh build/macos
	cmake/macos/macho.py check build/macos/universal/quarn build/macos/universal/libplist-2.0.3.dylib

# The native programs that run the ones for macOS and are compared with them.
macos-loader: test-packages
	$(CONFIGURE_DEV)
	cmake --build --preset dev --target macho_run

# MACOS_TEST_OPTIONS="--part 2/8" runs one of eight parts; see tests/macos/run_tests.py.
MACOS_TESTS = platform_tests models_tests system_tests core_tests quarn_tests_program
macos-test: macos macos-loader
	cmake --build --preset dev --target quarn quarn_resources
	cmake --build --preset macos-x86_64 --target loader_unwinder $(MACOS_TESTS)
	tests/macos/macho_tests.py build/macos/universal/quarn
	tests/macos/run_tests.py $(MACOS_TEST_OPTIONS) build/macos/x86_64 build/dev/bin/macho_run $(MACOS_TESTS)
	rm -rf build/macos/sample
	$(QUARN) sample build/macos/sample > /dev/null
	tests/macos/compare.py $(QUARN) build/macos/sample build/dev/bin/macho_run --with \
	  build/macos/x86_64/lib/libloader_unwinder.dylib build/macos/x86_64/bin/quarn

# Every merge: the tests of the lowest layer, where the systems differ.
macos-test-platform: macos macos-loader
	cmake --build --preset macos-x86_64 --target loader_unwinder platform_tests
	tests/macos/macho_tests.py build/macos/universal/quarn
	tests/macos/run_tests.py build/macos/x86_64 build/dev/bin/macho_run platform_tests

macos-package: macos macos-loader
	cmake --build --preset macos-x86_64 --target loader_unwinder quarn_manual QuarnCore
	cmake --build --preset macos-arm64 --target QuarnCore
	cmake/macos/package.sh build/macos "$(MACOS_PACKAGE_URL)"
	cmake --build --preset dev --target quarn quarn_resources quarn_manual QuarnCore
	python3 tests/macos/package_tests.py build/macos $(QUARN) build/dev/bin/macho_run

asan tsan: test-packages
	cmake --preset $@
	cmake --build --preset $@
	ctest --preset $@ -j 2

clean:
	rm -rf build
