# The commands of daily work; `make help` lists them.
.DEFAULT_GOAL := help
export CCACHE_BASEDIR ?= $(CURDIR)
export CCACHE_NOHASHDIR ?= 1

JOBS ?= $(shell nproc)
X86_64 := $(filter x86_64,$(shell uname -m))
# $(call configured,preset): configures once; CMake itself sees later changes.
configured = @test -f build$(if $(filter release,$(1)),,-$(1))/build.ninja || cmake --preset $(1) > /dev/null
build_preset = @cmake --build --preset $(1) -j $(JOBS) -- --quiet

.PHONY: help
help:  ## this list
	@awk -F ':.*## ' '/^[a-z-]+:.*## / { printf "  make %-14s %s\n", $$1, $$2 }' $(MAKEFILE_LIST)

.PHONY: build
build: setup  ## the host and the plug-in, in build/
	$(call configured,release)
	$(call build_preset,release)

.PHONY: demo
demo: build  ## a script on real input through the real plug-in, then one with dialogs
	@scripts/demo

.PHONY: test
test: setup-test build $(if $(X86_64),windows-build) fuzz-build  ## everything that must pass, in some minutes
ifeq ($(X86_64),)
	@echo "the tests under Wine are skipped: this machine is no x86-64"
endif
	@scripts/run_tests.py format sources native $(if $(X86_64),windows) fuzz

.PHONY: check
check: build  ## the tests of this system alone, in a minute
	@scripts/run_tests.py sources native

.PHONY: faults
faults: build  ## the file commands under a fault at every system call, 10,000 kills, extreme trees
	tests/faults/run.py --long
	if [ -x build/bin/tavhost_ide_tests ]; then TAVHOST_KILLS=3000 QT_QPA_PLATFORM=offscreen \
	  build/bin/tavhost_ide_tests --gtest_brief=1 --gtest_filter='SessionStoreKills.*'; fi

.PHONY: stop
stop: build  ## every long operation stopped in every way, each within a second
	tests/stop/run.py --long --verbose

.PHONY: network-tests
network-tests: build  ## requests through servers and proxies that others wrote
	@scripts/setup --network-tests
	tests/http/peers_test.py --all
	tests/service/front_ends_test.py

.PHONY: memory
memory: build  ## every request for memory of commands and of whole programs refused
	TAVHOST_SWEEP=$(or $(TAVHOST_SWEEP),1) build/bin/tavhost_memory_tests --gtest_brief=1
	tests/memory/run.py --long

.PHONY: mutations
mutations: build  ## 100,000 damaged inputs for the whole program (MUTATIONS=100000)
	tests/mutations/run.py --count $(or $(MUTATIONS),100000)

.PHONY: soak
soak: build  ## every dialog 10,000 times; the script service under load for an hour (SOAK_SECONDS=3600)
	QT_QPA_PLATFORM=offscreen TAVHOST_CYCLES=10000 build/bin/tavhost_qt_tests --gtest_filter='QtCycles.*'
	tests/service/soak.py --seconds $(or $(SOAK_SECONDS),3600)

.PHONY: bench
bench:  ## measurements beside what one would take instead
	@scripts/setup --bench
	$(call configured,bench)
	$(call build_preset,bench)
	$(call build_preset,release)
	@bench/run

.PHONY: windows
windows: setup-windows windows-build  ## the Windows build, in build-windows/

.PHONY: windows-qt
windows-qt: setup-windows  ## Qt for Windows, built once (25 minutes of processor time), and the build with windows
	@scripts/windows_libraries qt6-base
	@cmake --preset windows > /dev/null
	$(call build_preset,windows)

.PHONY: windows-test
windows-test: windows  ## the tests of the Windows build, under Wine
	@scripts/run_tests.py windows

.PHONY: package
package: setup-windows setup-package build windows-build  ## a .deb and a Windows zip, each tried out
	@scripts/package

.PHONY: asan tsan
asan tsan: setup  ## the native tests with sanitizers
	$(call configured,$@)
	$(call build_preset,$@)
	@scripts/run_tests.py --build build-$@ native

.PHONY: coverage
coverage: setup  ## what the tests reach, in build-coverage/report
	@scripts/setup --coverage
	$(call configured,coverage)
	$(call build_preset,coverage)
	@scripts/run_tests.py --build build-coverage native
	@mkdir -p build-coverage/report
	@gcovr --root . --filter 'plugin/' --filter 'commands/' --filter 'tavhost/' \
	  --html-details build-coverage/report/index.html --print-summary build-coverage

.PHONY: fuzz fuzz-short
fuzz: fuzz-build  ## each fuzzer looks for new inputs for ten minutes (FUZZ_SECONDS=600)
	@scripts/run_tests.py --explore $(or $(FUZZ_SECONDS),600) fuzz
fuzz-short: fuzz-build  ## each fuzzer on the same inputs each time, as in make test
	@scripts/run_tests.py fuzz

.PHONY: gallery
gallery: build  ## every dialog in one page to look at: build/gallery/index.html
	@cmake --build build --target gallery

.PHONY: docs
docs: build  ## the documentation as a site: build/site/index.html
	@scripts/setup --docs
	@scripts/build_docs.py

.PHONY: lint
lint:  ## what can be said of the sources without running them; TIDY=1 adds clang-tidy
	@scripts/setup --lint
	@scripts/run_tests.py format sources
	@$(if $(TIDY),scripts/lint --tidy)

.PHONY: format
format:  ## formats all of our sources
	@scripts/lint --fix

.PHONY: clean
clean:  ## removes what was built
	rm -rf dist build build-dev build-asan build-tsan build-bench build-coverage build-fuzz build-windows

.PHONY: setup setup-test setup-windows setup-package windows-build fuzz-build
setup:
	@scripts/setup
setup-windows:
	@scripts/setup --windows
setup-package:
	@scripts/setup --package
setup-test:
	@scripts/setup --test --lint $(if $(X86_64),--windows) --fuzz
windows-build:
	$(call configured,windows)
	$(call build_preset,windows)
fuzz-build:
	@scripts/setup --fuzz
	$(call configured,fuzz)
	$(call build_preset,fuzz)
