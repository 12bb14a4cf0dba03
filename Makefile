# The common commands. CMakePresets.json holds the build configurations.

SAMPLE ?= build/sample
HOME_OF_SAMPLE = /Users/ann
QUARN = build/dev/bin/quarn

.PHONY: help packages test-packages build demo test check tidy format bench recall fuzz corpora hostile pages deb asan tsan clean

help:
	@echo "make demo   build, write a sample Mac volume, inspect an app on it"
	@echo "make test   build and run every test"
	@echo "make check  check formatting and include edges, run clang-tidy"
	@echo "make tidy   run clang-tidy on the files that changed since the last run"
	@echo "make bench  compare with the bare system calls and other tools"
	@echo "make recall measure how many files of real apps are found (RECALL_APPS=FILE)"
	@echo "make fuzz   fuzz every reader of outside bytes for FUZZ_SECONDS (default 60)"
	@echo "make corpora  run every fuzz target once on its seeds (make test does it too)"
	@echo "make hostile  attack the command with the hostile volume and print a table"
	@echo "make pages  regenerate the program output in the documentation"
	@echo "make deb    build the Debian packages in build/package"

packages:
	@cmake/install-packages.sh

test-packages:
	@cmake/install-packages.sh test

build: packages
	cmake --preset release
	cmake --build --preset release

# A first build compiles the libraries in batches, which halves its time. A build that is configured keeps its setting.
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

test: test-packages
	$(CONFIGURE_DEV)
	cmake --build --preset dev
	ctest --preset dev -j 2

check: packages
	cmake/check-format.sh
	cmake/check-tidy.sh build/tidy
	cmake/check-edges.sh

tidy: packages
	cmake/check-tidy.sh build/tidy

format:
	cmake/check-format.sh --fix

bench: build
	benchmarks/run.sh build/release/bin/quarn $(BENCH)

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

# Regenerates the pages that are made from tables, and the output of the commands in all pages.
pages: packages
	cmake --preset dev
	cmake --build --preset dev --target quarn_tests_program quarn_manual
	QUARN_UPDATE_GOLDEN=1 build/dev/bin/quarn_tests_program --gtest_filter='CommandPages.*:RPCPage.HoldsTheTables*:Contract.*:RPC/Golden.*'
	python3 tests/installation/install.py build/dev build/dev/installed/moved build/dev/installed/mac
	for page in README.md docs/tutorial.md docs/rpc.md docs/embedding.md docs/commands/README.md; do \
	  python3 tests/documentation/run_page.py --prefix build/dev/installed/moved --update $$page || exit 1; done

deb: packages
	cmake --preset package
	cmake --build --preset package
	cpack --config build/package/CPackConfig.cmake -B build/package

asan tsan: test-packages
	cmake --preset $@
	cmake --build --preset $@
	ctest --preset $@ -j 2

clean:
	rm -rf build
