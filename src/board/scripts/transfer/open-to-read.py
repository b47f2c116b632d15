%2
_kf=open(%1,'rb')
_kn=0
_kd=b''
print('__OK__')