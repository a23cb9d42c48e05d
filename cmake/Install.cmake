# Install and export rules.
