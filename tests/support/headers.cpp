// SPDX-License-Identifier: Apache-2.0
// Built for the headers alone that most tests include: they are compiled once, not once a test.
int main() {}
