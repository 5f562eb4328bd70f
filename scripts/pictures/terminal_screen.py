"""A terminal of fixed size that understands what opcua-cli and a shell write: text, line ends, colours, the cursor's
way home, erasing, and the alternate screen."""
import re

TOKEN = re.compile(r"\x1b\[([?0-9;]*)([A-Za-z])|([\r\n])|([^\x1b\r\n]+)")
BOLD, FAINT, GREEN, RED = "b", "f", "g", "r"
STYLES = {"1": BOLD, "2": FAINT, "32": GREEN, "31": RED}
BLANK = (" ", "")


class Screen:
    def __init__(self, columns, rows):
        self.columns, self.rows = columns, rows
        self.style = ""
        self.usual = None  # what the alternate screen hides, with its cursor
        self._pending = ""
        self._clear()

    def _clear(self):
        self.cells = [[BLANK] * self.columns for _ in range(self.rows)]
        self.row = self.column = 0

    def write(self, text):
        self._pending += text
        end = 0
        for token in TOKEN.finditer(self._pending):
            if token.start() != end:
                break
            end = token.end()
            parameters, command, line_end, plain = token.groups()
            if command:
                self._obey(parameters, command)
            elif line_end == "\r":
                self.column = 0
            elif line_end:
                self._line_feed()
            else:
                self._put(plain)
        self._pending = self._pending[end:]

    def _obey(self, parameters, command):
        if command == "m":
            self.style = "" if parameters in ("", "0") else STYLES[parameters]
        elif command == "H":
            self.row = self.column = 0
        elif command == "K":
            self.cells[self.row][self.column:] = [BLANK] * (self.columns - self.column)
        elif command == "J" and parameters == "2":
            self.cells = [[BLANK] * self.columns for _ in range(self.rows)]
        elif command == "J":
            self.cells[self.row][self.column:] = [BLANK] * (self.columns - self.column)
            for row in range(self.row + 1, self.rows):
                self.cells[row] = [BLANK] * self.columns
        elif parameters == "?1049":
            self._switch(command == "h")
        elif not parameters.startswith("?"):
            raise ValueError(f"a sequence that this screen does not know: {parameters}{command}")

    def _switch(self, alternate):
        if alternate:
            self.usual = self.cells, self.row, self.column
            self._clear()
        elif self.usual:
            self.cells, self.row, self.column = self.usual
            self.usual = None

    def _line_feed(self):
        if self.row + 1 < self.rows:
            self.row += 1
        else:
            self.cells = self.cells[1:] + [[BLANK] * self.columns]

    def _put(self, text):
        for character in text:
            if self.column < self.columns:
                self.cells[self.row][self.column] = (character, self.style)
                self.column += 1

    def lines(self):
        """Each row as a tuple of (column, text, style), without what is blank."""
        return tuple(tuple(self._spans(row)) for row in self.cells)

    @staticmethod
    def _spans(row):
        start = 0
        for column in range(1, len(row) + 1):
            if column == len(row) or row[column][1] != row[start][1]:
                text = "".join(character for character, _ in row[start:column])
                # Words far apart are texts of their own: nothing is drawn in between.
                for word in re.finditer(r"\S+(?: \S+)*", text):
                    yield start + word.start(), word.group(), row[start][1]
                start = column
