import ubinascii as _u
_f=open(QPATH,MODE)
_f.write(_u.a2b_base64('PIECE'))
_f.close()
print('__OK__')