"""The support of the window tests: a desktop, the program, mouse and keys, and accessibility."""
