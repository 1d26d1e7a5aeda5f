"""The panel as an operator sees and touches it, on the board or in a private root."""
