# SPDX-License-Identifier: Apache-2.0
.PHONY: setup demo test bench fuzz install package docs soak coverage memcheck
setup: ; scripts/setup
demo: ; scripts/demo
test: ; scripts/test
bench: ; scripts/bench
fuzz: ; scripts/fuzz
install: ; scripts/install
package: ; scripts/package
docs: ; scripts/docs
soak: ; scripts/soak
coverage: ; scripts/coverage
memcheck: ; scripts/memcheck
