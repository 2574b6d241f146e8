# make demo    builds and shows the tool at work        make check   builds and runs every test
# make bench   builds and runs the benchmarks           make fuzz    runs each fuzzer for FUZZ_SECONDS
# make lint    clang-tidy over all sources              make install installs below PREFIX (default /usr/local)
# make package makes build/ymap_VERSION_ARCH.deb, for Debian
# make serve   serves NETCONF on 127.0.0.1:PORT, for the device in the folder DEVICE (default: your own) or ssh://HOST;
#              NATIVE=1 serves the device's own models, CANDIDATE=1 those with a candidate datastore
# make gnmi    serves gNMI on 127.0.0.1:GNMI_PORT with throw-away certificates, for the device in DEVICE
# make check-threads   the tests of the gNMI front under the thread sanitizer
# make check-releases  runs demo and check on fresh Debian systems (RELEASES), as root
PREFIX ?= /usr/local
PORT ?= $(if $(NATIVE),8301,8300)
GNMI_PORT ?= 9339
JOBS ?= $(shell nproc)
# Tests wait for each other's processes half of their time.
TEST_JOBS ?= $(shell expr 2 \* $(JOBS))

FUZZ_SECONDS ?= 1200

.PHONY: demo serve gnmi check check-threads check-releases bench fuzz install package lint format clean

# Installs what tasks of packages.txt need and is absent.
PACKAGES = @scripts/install-packages

demo:
	$(PACKAGES) build
	@cmake --preset release -DBUILD_TESTING=OFF -DYMAP_GNMI=OFF >/dev/null
	@cmake --build --preset release -j $(JOBS) -- --no-print-directory
	@scripts/demo build/release/bin/ymap

serve:
	$(PACKAGES) build serve
	@cmake --preset release -DBUILD_TESTING=OFF -DYMAP_GNMI=OFF >/dev/null
	@cmake --build --preset release -j $(JOBS) -- --no-print-directory
	@scripts/serve build/release/bin/ymap $(PORT) "$(DEVICE)" $(if $(NATIVE),--native $(if $(CANDIDATE),--candidate))

gnmi:
	$(PACKAGES) build gnmi
	@cmake --preset release -DBUILD_TESTING=OFF -DYMAP_GNMI=ON >/dev/null
	@cmake --build --preset release -j $(JOBS) -- --no-print-directory
	@scripts/serve-gnmi build/release/bin/ymap $(GNMI_PORT) "$(DEVICE)"

check:
	$(PACKAGES) build gnmi serve package check
	cmake --preset asan
	cmake --build --preset asan -j $(JOBS)
	ctest --preset asan -j $(TEST_JOBS)
	cmake --preset dev
	cmake --build --preset dev -j $(JOBS)
	ctest --preset dev -j $(TEST_JOBS)

check-threads:
	$(PACKAGES) build gnmi check
	cmake --preset tsan
	cmake --build --preset tsan -j $(JOBS)
	ctest --preset tsan -j $(JOBS) -R '^(gnmi|ymap.install)'

check-releases:
	scripts/check-releases $(RELEASES)

bench:
	$(PACKAGES) build gnmi bench
	cmake --preset release -DBUILD_TESTING=OFF -DYMAP_GNMI=ON -DYMAP_BENCHMARKS=ON
	cmake --build --preset release -j $(JOBS)
	build/release/bin/ymap_bench
	build/release/bin/netconf_bench
	@scripts/count-instructions build/release/bin/ymap_rounds build/release/bin/ymap \
	  build/release/bin/libyang_rounds build/release/share/ymap/models
	@scripts/measure-gnmi build/release/bin/ymap build/release/bin/gnmi_load

fuzz:
	$(PACKAGES) build gnmi fuzz
	cmake --preset fuzz
	cmake --build --preset fuzz -j $(JOBS) --target plugin_fuzz rpc_fuzz gnmi_fuzz
	mkdir -p build/fuzz/found/plugin build/fuzz/found/rpc build/fuzz/found/gnmi
	cd build/fuzz && bin/plugin_fuzz -max_total_time=$(FUZZ_SECONDS) -max_len=4096 -print_final_stats=1 \
	  found/plugin ../../manageability/fuzz/corpus/plugin
	cd build/fuzz && bin/rpc_fuzz -max_total_time=$(FUZZ_SECONDS) -max_len=8192 -print_final_stats=1 \
	  -dict=../../manageability/fuzz/rpc.dict found/rpc ../../manageability/fuzz/corpus/rpc
	cd build/fuzz && bin/gnmi_fuzz -max_total_time=$(FUZZ_SECONDS) -max_len=4096 -print_final_stats=1 \
	  -dict=../../manageability/fuzz/gnmi.dict found/gnmi ../../manageability/fuzz/corpus/gnmi

install:
	$(PACKAGES) build gnmi
	cmake --preset release -DBUILD_TESTING=OFF -DYMAP_GNMI=ON -DCMAKE_INSTALL_PREFIX=$(PREFIX)
	cmake --build --preset release -j $(JOBS)
	cmake --install build/release

# In a folder of its own: the paths of an installation below /usr are compiled in.
package:
	$(PACKAGES) build gnmi package
	cmake --preset release -B build/package -DBUILD_TESTING=OFF -DCMAKE_INSTALL_PREFIX=/usr
	cmake --build build/package -j $(JOBS)
	cpack --config build/package/CPackConfig.cmake -B build/package/out
	mv build/package/out/ymap_*.deb build/

# Tests build objects for their errors alone and join texts freely; benchmarks count rounds in a variable of no use.
LINT_TESTS = --checks=-performance-*,-clang-analyzer-deadcode.DeadStores,-bugprone-exception-escape,-bugprone-suspicious-missing-comma,-bugprone-unused-raii

lint:
	$(PACKAGES) build gnmi lint
	cmake --preset dev -B build/lint -DYMAP_GNMI=ON -DYMAP_BENCHMARKS=ON -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON
	cmake --build build/lint -j $(JOBS) --target ymap_gnmi_messages
	git ls-files '*.cpp' | grep -vE '/(test|fuzz|bench)/' | xargs -P $(JOBS) -n 4 clang-tidy --quiet -p build/lint
	git ls-files '*.cpp' | grep -E '/(test|fuzz|bench)/' | xargs -P $(JOBS) -n 4 clang-tidy --quiet -p build/lint $(LINT_TESTS)

format:
	$(PACKAGES) format
	git ls-files '*.cpp' '*.h' '*.hpp' | xargs scripts/clang-format -i

clean:
	rm -rf build
