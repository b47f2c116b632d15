import os
try:
 FN(QPATH)
 print('__OK__')
except Exception as _e:
 print('__ERR__'+str(_e))