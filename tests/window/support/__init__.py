"""What the tests of the window stand on: a desktop, the program, a hand on mouse and keys, and accessibility."""
