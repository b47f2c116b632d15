try:
 import machine,ubinascii
 print('__ID__'+ubinascii.hexlify(machine.unique_id()).decode())
except Exception:
 print('__ID__')