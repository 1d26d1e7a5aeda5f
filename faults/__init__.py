"""Every fault that can be thrown at the panel, as tables, and the command that throws them."""
