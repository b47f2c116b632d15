import time

led, turns = False, 0
while True:
    led = not led
    turns += 1
    print('on' if led else 'off')
    time.sleep_ms(2)
    if turns == 4:
        break
    if turns % 2:
        continue
    print('pair')
else:
    print('never')
print('done', turns)
#! breakpoints 10 12
#> 12 s  turns=1  led=True
#> 5 s  turns=1
#> 6 c  turns=1  led=False
#> 12 c  turns=3
#> 10 s  turns=4  led=False
#> 16 s  turns=4
