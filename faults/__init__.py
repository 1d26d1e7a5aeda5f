"""Tables of the faults to inject into the program, and the command that injects them."""
