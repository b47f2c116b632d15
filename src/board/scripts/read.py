try:
 import ubinascii
 with open(QPATH,'rb') as _f:
  print('__FILE__'+ubinascii.b2a_base64(_f.read()).decode().strip())
except Exception as _e:
 print('__FILEERR__'+str(_e))