# ZKImgSet: the two commands a newcomer needs are `make demo` and `make check`.
#
#   make deps    install the Debian packages the build needs (only those missing)
#   make build   configure and build into build/
#   make check   deps, build, every test; then every test again under
#                AddressSanitizer and UndefinedBehaviorSanitizer in build-asan/
#   make demo    build, then correct the sample photographs in examples/photos
#                into out/ with a review page, out/report.html
#   make format  clang-format every source file
#   make fuzz    build the libFuzzer targets with clang into build-fuzz/
#   make bench   build and run the benchmarks in build-bench/ (Release), and
#                write their figures to bench/RESULTS.md
#   make bench-build
#                only build them (CI does, so that they keep building)
#   make windows cross-build ZKImgSet.dll with mingw-w64: build-win32/ (the
#                32-bit drop-in) and build-win64/
#   make check-windows
#                the Windows checks: both DLLs' export tables, and the 64-bit
#                test programs and host program under wine64, the host's
#                output compared byte for byte with the native build's
#   make coverage
#                every test in a coverage build (build-coverage/), then the
#                line and branch coverage of src/ and cli/ (gcovr)
#   make clean   remove the build folders

BUILD      ?= build
ASAN_BUILD ?= build-asan
JOBS       ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE_ARGS ?=

MAKEFLAGS += --no-print-directory

# What the build and the tests need: the command-line tool reads and writes
# pictures with libjpeg-turbo, libpng and libtiff, and its review page is
# checked in headless Chromium driven by Selenium. The Python package is a pybind11 extension for
# Debian's own Python (/usr/bin/python3) and NumPy; its tests decode pictures
# with Pillow and run a Dask cluster of worker processes.
DEB_PACKAGES := cmake make g++ pkg-config binutils libgtest-dev libgmock-dev \
                libturbojpeg0-dev libjpeg62-turbo-dev libpng-dev libtiff-dev \
                python3 python3-dev pybind11-dev python3-numpy
PYTHON_PACKAGES := python3-pil python3-dask python3-distributed
TEST_PACKAGES := chromium chromium-driver python3-selenium imagemagick python3-pytest \
                 $(PYTHON_PACKAGES)
# What the benchmarks need besides: Google Benchmark and the peers they are
# measured against (lcms2 for the conversions, libvips for resizing, with its
# command line to check that the benchmark's libvips pipeline is as fast as
# `vips resize`; ExifTool and exiv2 for the Exif reader, ExifTool also
# regenerating the Exif tests' golden values, tests/exif/make_golden.pl), the
# Python package's Dask cluster, headless Chromium for the review page's
# opening time, and lscpu for the machine's name in bench/RESULTS.md.
BENCH_PACKAGES := libbenchmark-dev liblcms2-dev libvips-dev libvips-tools libimage-exiftool-perl \
                  libexiv2-dev imagemagick util-linux chromium chromium-driver python3-selenium \
                  $(PYTHON_PACKAGES)
# The Windows builds: Debian's mingw-w64 compilers, GoogleTest's sources to
# cross-compile, wine64 to run the 64-bit programs and llvm-undname to read
# the decorated export names. (wine32 cannot be installed here, so the 32-bit
# DLL is checked without being run.)
WINDOWS_PACKAGES := g++-mingw-w64-i686 g++-mingw-w64-x86-64 googletest wine64 llvm-14
WIN32_BUILD ?= build-win32
WIN64_BUILD ?= build-win64
WINE64 := /usr/lib/wine/wine64
# Wine keeps its own Windows folder in the build folder and stays quiet.
WINE_ENV := WINEPREFIX=$(abspath $(WIN64_BUILD))/wineprefix WINEDEBUG=-all \
            WINEDLLOVERRIDES="mscoree,mshtml="
SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

.PHONY: coverage deps test-deps bench-deps windows-deps install-missing configure build check test asan demo \
        format fuzz bench bench-build windows check-windows clean

deps:
	@$(MAKE) install-missing PACKAGES="$(DEB_PACKAGES)"

test-deps:
	@$(MAKE) install-missing PACKAGES="$(DEB_PACKAGES) $(TEST_PACKAGES)"

bench-deps:
	@$(MAKE) install-missing PACKAGES="$(DEB_PACKAGES) $(BENCH_PACKAGES)"

windows-deps:
	@$(MAKE) install-missing PACKAGES="$(DEB_PACKAGES) $(WINDOWS_PACKAGES)"

install-missing:
	@missing=""; \
	for p in $(PACKAGES); do \
	  dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q 'install ok installed' || missing="$$missing $$p"; \
	done; \
	if [ -n "$$missing" ]; then \
	  echo "make deps: installing$$missing"; \
	  $(SUDO) apt-get update -qq && \
	  DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y -qq --no-install-recommends $$missing; \
	fi

$(BUILD)/CMakeCache.txt:
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_ARGS)

configure: deps $(BUILD)/CMakeCache.txt

build: configure
	cmake --build $(BUILD) -j $(JOBS)

test: test-deps build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

asan: test-deps
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DZKIMGSET_SANITIZE=ON $(CMAKE_ARGS)
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	ctest --test-dir $(ASAN_BUILD) --output-on-failure -j $(JOBS)

check: test asan

demo: build
	$(BUILD)/bin/zkimgset_hello
	$(BUILD)/bin/zkimgset autosetup examples/photos --out-dir out --report out/report.html
	@echo
	@echo "Corrected pictures: out/   Review page: out/report.html (open it in a browser)"

format:
	find include src tests fuzz bench cli data examples -name '*.[ch]' -o -name '*.cpp' -o -name '*.h' \
	  | xargs clang-format -i

fuzz: deps
	CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DZKIMGSET_BUILD_FUZZ=ON -DZKIMGSET_BUILD_TESTS=OFF
	cmake --build build-fuzz -j $(JOBS)

bench-build: bench-deps
	cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DZKIMGSET_BUILD_BENCH=ON \
	  -DZKIMGSET_BUILD_TESTS=OFF
	cmake --build build-bench -j $(JOBS)

bench: bench-build
	bench/run_all.sh build-bench

windows: windows-deps
	cmake -S . -B $(WIN32_BUILD) -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-i686.cmake \
	  -DCMAKE_BUILD_TYPE=Release
	cmake --build $(WIN32_BUILD) -j $(JOBS)
	cmake -S . -B $(WIN64_BUILD) -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-x86_64.cmake \
	  -DCMAKE_BUILD_TYPE=Release -DZKIMGSET_NATIVE_BUILD_DIR=$(abspath $(BUILD))
	cmake --build $(WIN64_BUILD) -j $(JOBS)
	@echo
	@echo "The drop-in DLL: $(WIN32_BUILD)/ZKImgSet.dll (ship ZK1DDATA.DAT and ZK3DDATA.DAT beside it)"

check-windows: build windows
	ctest --test-dir $(WIN32_BUILD) --output-on-failure
	$(WINE_ENV) $(WINE64) wineboot --init >/dev/null 2>&1 || true
	$(WINE_ENV) ctest --test-dir $(WIN64_BUILD) --output-on-failure -j $(JOBS)

# Line and branch coverage of the library and the tool by every test (GCC's
# --coverage, read by gcovr): the summary, and coverage/index.html.
COVERAGE_BUILD ?= build-coverage
coverage: test-deps
	@$(MAKE) install-missing PACKAGES="gcovr"
	cmake -S . -B $(COVERAGE_BUILD) -DCMAKE_BUILD_TYPE=Debug \
	  -DCMAKE_C_FLAGS=--coverage -DCMAKE_CXX_FLAGS=--coverage \
	  -DCMAKE_EXE_LINKER_FLAGS=--coverage -DCMAKE_SHARED_LINKER_FLAGS=--coverage \
	  -DCMAKE_MODULE_LINKER_FLAGS=--coverage $(CMAKE_ARGS)
	cmake --build $(COVERAGE_BUILD) -j $(JOBS)
	find $(COVERAGE_BUILD) -name '*.gcda' -delete
	ctest --test-dir $(COVERAGE_BUILD) -j $(JOBS) || true
	mkdir -p coverage
	gcovr -r . $(COVERAGE_BUILD) --filter 'src/' --filter 'cli/' --exclude-unreachable-branches \
	  --exclude-throw-branches --print-summary --html-details coverage/index.html -j $(JOBS)

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(COVERAGE_BUILD) coverage build-fuzz build-bench $(WIN32_BUILD) $(WIN64_BUILD)
