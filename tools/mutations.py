# The mutations of a C++ source, by rules for its text. They lean on the source's format: operators with two
# operands have white space on both sides, those of types and templates have not.
import re
from collections import namedtuple

# What becomes of text[start:end]; `number` tells alike mutations of a line apart, from 1.
Mutation = namedtuple('Mutation', 'start end after line before number')
Token = namedtuple('Token', 'text start end')

SKIPPED = re.compile(r'''//[^\n]* | /\*.*?\*/ | "(?:\\.|[^"\\\n])*" | '(?:\\.|[^'\\\n])*'
    | ^[ \t]*\#(?:\\\n|[^\n])* | \s+''', re.X | re.S | re.M)
TOKEN = re.compile(r'''[A-Za-z_]\w* | 0[xX][0-9A-Fa-f']+[uUlL]* | \d[\d'.]*(?:[eE]\d+)?[uUlLfF]*
    | <<= | >>= | <=> | \.\.\. | -> | :: | \+\+ | -- | && | \|\| | [-+*/%&|^<>=!]= | << | >> | .''', re.X | re.S)

BINARY = {'<': ['<=', '>='], '<=': ['<', '>'], '>': ['>=', '<='], '>=': ['>', '<'], '==': ['!='],
          '!=': ['=='], '+': ['-'], '-': ['+'], '&&': ['||'], '||': ['&&'], '&': ['|'], '|': ['&'],
          '^': ['|'], '<<': ['>>'], '>>': ['<<'], '*': ['/'], '/': ['*'], '%': ['/'], '+=': ['-='],
          '-=': ['+='], '&=': ['|='], '|=': ['&='], '<<=': ['>>='], '>>=': ['<<=']}
UNARY = {'++': '--', '--': '++', '!': '', '~': '', 'true': 'false', 'false': 'true'}
OPENING = {'(': ')', '[': ']', '{': '}'}
SCOPES = {'struct', 'class', 'enum', 'union', 'namespace', 'extern'}
NO_STATEMENTS = {'using', 'static_assert', 'if', 'for', 'while', 'do', 'switch', 'case', 'default', 'typedef',
                 'public', 'private', 'protected', 'template', 'friend', 'goto', 'return', 'constexpr'} | SCOPES


def tokens_of(text):
    """The tokens without comments, literals of characters, preprocessor lines, assertions of the
    compiler and attributes."""
    found, at = [], 0
    while at < len(text):
        skipped = SKIPPED.match(text, at)
        if skipped:
            if text[at] in '"\'':
                found.append(Token('""', at, skipped.end()))
            at = skipped.end()
            continue
        match = TOKEN.match(text, at)
        found.append(Token(match.group(), at, match.end()))
        at = match.end()
    return without_declarations(found)


def without_declarations(tokens):
    kept, i = [], 0
    while i < len(tokens):
        if tokens[i].text in ('static_assert', '__attribute__'):
            i = partner(tokens, i + 1) + 1
        elif tokens[i].text == '[' and tokens[i + 1].text == '[':
            i = partner(tokens, i) + 1
        else:
            kept.append(tokens[i])
            i += 1
    return kept


def partner(tokens, i):
    """The index of the bracket that closes the one at `i`."""
    depth = 0
    for j in range(i, len(tokens)):
        if tokens[j].text in OPENING:
            depth += 1
        elif tokens[j].text in OPENING.values():
            depth -= 1
            if depth == 0:
                return j
    return len(tokens) - 1


class Rules:
    def __init__(self, text):
        self.text = text
        self.tokens = tokens_of(text)
        self.found = {}

    def all(self):
        self.operators()
        self.conditions()
        self.returns()
        self.assignments()
        self.statements()
        return self.numbered()

    def numbered(self):
        counts, mutations = {}, []
        for (start, end, after) in sorted(self.found):
            before = ' '.join(self.text[start:end].split())
            line = self.text.count('\n', 0, start) + 1
            key = line, before, after
            counts[key] = counts.get(key, 0) + 1
            mutations.append(Mutation(start, end, after, line, before, counts[key]))
        return mutations

    def add(self, start, end, after):
        if self.text[start:end] != after:
            self.found[start, end, after] = True

    def spaced(self, token):
        return self.text[token.start - 1].isspace() and self.text[token.end].isspace()

    def operators(self):
        for i, token in enumerate(self.tokens):
            if token.text in BINARY and self.spaced(token) and self.tokens[i - 1].text != 'operator':
                for after in BINARY[token.text]:
                    self.add(token.start, token.end, after)
            elif token.text in UNARY and self.tokens[i - 1].text != 'operator' and not (
                    token.text == '~' and self.tokens[i + 2].text == '(' and self.tokens[i + 3].text == ')'):
                self.add(token.start, token.end, UNARY[token.text])
            elif token.text[0].isdigit():
                self.number(token)

    def number(self, token):
        digits = re.match(r"0[xX][0-9A-Fa-f']+|[\d']+", token.text).group()
        suffix = token.text[len(digits):]
        if '.' in suffix or digits.startswith('0') and digits.isdigit() and len(digits) > 1:
            return
        value = int(digits.replace("'", ''), 0)
        show = hex if digits[:2].lower() == '0x' else str
        self.add(token.start, token.end, show(value + 1) + suffix)
        if value > 0:
            self.add(token.start, token.end, show(value - 1) + suffix)

    def negate(self, first, last):
        start, end = self.tokens[first].start, self.tokens[last].end
        if first <= last:
            self.add(start, end, '!(' + self.text[start:end] + ')')

    def conditions(self):
        for i, token in enumerate(self.tokens):
            if token.text in ('if', 'while'):
                opening = i + 2 if self.tokens[i + 1].text == 'constexpr' else i + 1
                self.negate(opening + 1, partner(self.tokens, opening) - 1)
            elif token.text == '?':
                self.negate(self.choice_start(i), i - 1)

    def choice_start(self, i):
        """The first token of the condition before the `?` at `i`."""
        depth = 0
        while i > 0:
            before = self.tokens[i - 1].text
            if depth == 0 and before in ('return', '=', ',', ';', '?', ':', '(', '{', '[', '+=', '|='):
                break
            depth += (before in OPENING.values()) - (before in OPENING)
            i -= 1
        return i

    def end_of(self, i):
        """The index of the semicolon behind the token at `i`, or of a bracket that closes before it."""
        while i < len(self.tokens) - 1 and self.tokens[i].text not in (';', ')', '}', ']'):
            i = partner(self.tokens, i) + 1 if self.tokens[i].text in OPENING else i + 1
        return i

    def one_off(self, first, last):
        text = self.tokens[first].text
        if first == last and (text[0].isdigit() or text in ('true', 'false', 'nullptr', '""')):
            return # a mutation of the constant does it
        start, end = self.tokens[first].start, self.tokens[last].end
        for after in (' + 1', ' - 1'):
            self.add(start, end, '(' + self.text[start:end] + ')' + after)

    def returns(self):
        for i, token in enumerate(self.tokens):
            if token.text != 'return':
                continue
            end = self.end_of(i)
            if end == i + 1:
                self.add(token.start, self.tokens[end].end, ';')
                continue
            self.one_off(i + 1, end - 1)
            for after in () if self.tokens[i + 1].text in ('true', 'false') else ('0', '1'):
                self.add(self.tokens[i + 1].start, self.tokens[end - 1].end, after)

    def assignments(self):
        for i, token in enumerate(self.tokens):
            if token.text == '=' and self.spaced(token) and self.tokens[i + 1].text not in ('default', 'delete'):
                end = self.end_of(i)
                if self.tokens[end].text == ';' and self.tokens[i + 1].text != '{':
                    self.one_off(i + 1, end - 1)

    def statements(self):
        inside = [False] # whether each open brace is one of a function
        for i, token in enumerate(self.tokens):
            if token.text == '{':
                inside.append(self.opens_block(i, inside[-1]))
            elif token.text == '}' and len(inside) > 1:
                inside.pop()
            if inside[-1] and self.begins_statement(i):
                self.drop(i + 1)

    def opens_block(self, i, inside):
        before = self.tokens[i - 1].text
        if inside and before in ('{', '}', ';', ':'):
            return True
        if before in (')', '}', 'const', 'noexcept', 'override', 'else', 'do', 'try', 'mutable'):
            return True
        start = i
        while start > 0 and self.tokens[start - 1].text not in (';', '{', '}'):
            start -= 1
        words = {token.text for token in self.tokens[start:i]}
        return '->' in words and not words & SCOPES

    def begins_statement(self, i):
        text = self.tokens[i].text
        if text == ')':
            return self.closes_control(i)
        if text == ':':
            return self.closes_label(i)
        return text in ('{', '}', ';', 'else', 'do')

    def closes_control(self, i):
        depth = 0
        while i > 0:
            depth += (self.tokens[i].text == ')') - (self.tokens[i].text == '(')
            if depth == 0:
                return self.tokens[i - 1].text in ('if', 'for', 'while', 'switch', 'constexpr')
            i -= 1
        return False

    def closes_label(self, i):
        while i > 0 and self.tokens[i].text not in (';', '{', '}', '?'):
            i -= 1
            if self.tokens[i].text in ('case', 'default'):
                return True
        return False

    def drop(self, i):
        if self.tokens[i].text in NO_STATEMENTS or self.tokens[i].text in ('{', '}', ';', ')', 'else'):
            return
        end = self.end_of(i)
        if self.tokens[end].text != ';' or self.declares_value(i, end):
            return
        start, stop = self.tokens[i].start, self.tokens[end].end
        self.add(start, stop, ';' + '\n' * self.text.count('\n', start, stop))

    def declares_value(self, i, end):
        """Whether a declaration with `=` begins at `i`. One without may be of an object that acts."""
        names = [token.text for token in self.tokens[i:end]]
        if '=' not in names:
            return False
        left = [name for name in names[:names.index('=')] if name not in ('*', '&')]
        return any(re.match(r'\w', a + b) and re.match(r'\w', b) and re.match(r'[\w>]', a[-1:])
                   for a, b in zip(left, left[1:]))
