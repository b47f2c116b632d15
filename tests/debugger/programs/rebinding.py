import sys
class A:
    def __init__(self, n):
        self.n = n
    def __repr__(self):
        text = 'A%d' % self.n
        return text
a = A(1)
print('repr:', a)
show = print
globals = callable = type = repr = len = print = sorted = Exception = SystemExit = None
b = A(2)
show('a and b:', a, b.n)
del globals, callable, type, repr, len, print, sorted, Exception, SystemExit
#! breakpoints 7 11 14
#> 7 c  text='A1'
#> 11 s  a=A1  !b
#> 12 s  a=A1  !b
#> 4 s  a=A1  n=2
#> 13 c  a=A1  b=A2
#> 7 c  text='A1'  b=A2
#> 14 c  b=A2
