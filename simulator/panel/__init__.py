"""The panel as its operator sees it, on the board or in a private root."""
