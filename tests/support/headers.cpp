// SPDX-License-Identifier: Apache-2.0
// Compiles the headers that most tests include once for all tests.
int main() {}
