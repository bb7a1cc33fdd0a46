"""Measures file servers side by side on the loopback interface."""
