"""python3 -m zkimgset autosetup|batch ...: see zkimgset._command_line."""

import sys

from zkimgset._command_line import main

if __name__ == "__main__":
    sys.exit(main())
